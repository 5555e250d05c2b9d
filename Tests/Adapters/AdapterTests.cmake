# One executable for each loop; each target is there where its loop is. Both Asios run the same tests.

function(corvane_add_adapter_tests adapter folder)
  if(NOT TARGET Corvane::${adapter})
    return()
  endif()
  string(TOLOWER "${adapter}_adapter_tests" name)
  file(GLOB sources CONFIGURE_DEPENDS "${CMAKE_CURRENT_SOURCE_DIR}/Adapters/${folder}/*.cpp")
  add_executable(${name} ${sources})
  target_link_libraries(${name} PRIVATE Corvane::${adapter} ${test_libraries})
  if(NOT adapter STREQUAL "Qt")  # is compiled as position-independent code
    target_precompile_headers(${name} REUSE_FROM corvane_test_precompiled)
  endif()
  corvane_register_tests(${name} PREFIX "${adapter}.")
endfunction()

# With the address sanitizer, one of the two is enough for what they share.
if(NOT CORVANE_SANITIZER STREQUAL "address" OR NOT TARGET Corvane::BoostAsio)
  corvane_add_adapter_tests(Asio Asio)
endif()
if(TARGET asio_adapter_tests)
  # Asio 1.22 leaves coroutines out with Clang.
  target_compile_definitions(asio_adapter_tests PRIVATE $<$<CXX_COMPILER_ID:Clang>:ASIO_HAS_CO_AWAIT>)
endif()
corvane_add_adapter_tests(BoostAsio Asio)
if(TARGET boostasio_adapter_tests)
  target_compile_definitions(boostasio_adapter_tests PRIVATE CORVANE_TESTS_BOOST_ASIO)
endif()
# Qt and GLib are not compiled with the thread sanitizer, which then does not see how they order what threads do.
if(NOT CORVANE_SANITIZER STREQUAL "thread")
  corvane_add_adapter_tests(Qt Qt)
  corvane_add_adapter_tests(GLib GLib)
endif()
