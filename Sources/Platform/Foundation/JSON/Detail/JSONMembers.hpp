#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <type_traits>
#include <utility>

/// The members of plain structs, by number and by name, without help of their author.

namespace platform::detail {

inline constexpr std::size_t mostMembers = 64;

/// Stands for an initialiser of any type. Its conversion is never called; that it is defined spares types that are
/// local to a source file an error of Clang.
struct Anything {
  template <class T>
  operator T() const {  // NOLINT(google-explicit-constructor)
    __builtin_trap();
  }
};
/// Stands for an initialiser of a base class of `T`. It is no plain struct, which some class might take for a model.
template <class T>
struct AnyBaseOf {
  AnyBaseOf() = default;
  template <class Base>
    requires(std::is_base_of_v<Base, T> && !std::is_same_v<Base, T>)
  operator Base() const {  // NOLINT(google-explicit-constructor)
    __builtin_trap();
  }
};

template <class T, std::size_t... indices>
constexpr bool takesInitialisers(std::index_sequence<indices...>) {
  return requires { T{(static_cast<void>(indices), Anything{})...}; };
}

/// In place of a count: no number of initialisers makes the type, as where a member is a reference.
inline constexpr std::size_t uncountable = SIZE_MAX;

/// The number of members; more than `mostMembers` when there are too many.
template <class T, std::size_t count = 0, bool isLargeEnough = false>
constexpr std::size_t countMembers() {
  constexpr bool takes = takesInitialisers<T>(std::make_index_sequence<count>());
  if constexpr (isLargeEnough && !takes) {
    return count - 1;
  } else if constexpr (count > mostMembers) {
    return isLargeEnough ? count : uncountable;
  } else {
    return countMembers<T, count + 1, takes>();
  }
}

template <class T>
inline constexpr std::size_t memberCount = countMembers<T>();

template <class T, std::size_t... indices>
constexpr bool takesInitialisersOneEach(std::index_sequence<indices...>) {
  return requires { T((static_cast<void>(indices), Anything{})...); };
}
/// Of a C array each element was counted as a member; in parentheses, an initialiser is for a whole member.
template <class T>
inline constexpr bool hasArray =
    memberCount<T> > 1 && !takesInitialisersOneEach<T>(std::make_index_sequence<memberCount<T>>());
template <class T>
inline constexpr bool hasBase = requires { T{AnyBaseOf<T>{}}; };

// clang-format off
#define CORVANE_MEMBERS_1 m1
#define CORVANE_MEMBERS_2 CORVANE_MEMBERS_1, m2
#define CORVANE_MEMBERS_3 CORVANE_MEMBERS_2, m3
#define CORVANE_MEMBERS_4 CORVANE_MEMBERS_3, m4
#define CORVANE_MEMBERS_5 CORVANE_MEMBERS_4, m5
#define CORVANE_MEMBERS_6 CORVANE_MEMBERS_5, m6
#define CORVANE_MEMBERS_7 CORVANE_MEMBERS_6, m7
#define CORVANE_MEMBERS_8 CORVANE_MEMBERS_7, m8
#define CORVANE_MEMBERS_9 CORVANE_MEMBERS_8, m9
#define CORVANE_MEMBERS_10 CORVANE_MEMBERS_9, m10
#define CORVANE_MEMBERS_11 CORVANE_MEMBERS_10, m11
#define CORVANE_MEMBERS_12 CORVANE_MEMBERS_11, m12
#define CORVANE_MEMBERS_13 CORVANE_MEMBERS_12, m13
#define CORVANE_MEMBERS_14 CORVANE_MEMBERS_13, m14
#define CORVANE_MEMBERS_15 CORVANE_MEMBERS_14, m15
#define CORVANE_MEMBERS_16 CORVANE_MEMBERS_15, m16
#define CORVANE_MEMBERS_17 CORVANE_MEMBERS_16, m17
#define CORVANE_MEMBERS_18 CORVANE_MEMBERS_17, m18
#define CORVANE_MEMBERS_19 CORVANE_MEMBERS_18, m19
#define CORVANE_MEMBERS_20 CORVANE_MEMBERS_19, m20
#define CORVANE_MEMBERS_21 CORVANE_MEMBERS_20, m21
#define CORVANE_MEMBERS_22 CORVANE_MEMBERS_21, m22
#define CORVANE_MEMBERS_23 CORVANE_MEMBERS_22, m23
#define CORVANE_MEMBERS_24 CORVANE_MEMBERS_23, m24
#define CORVANE_MEMBERS_25 CORVANE_MEMBERS_24, m25
#define CORVANE_MEMBERS_26 CORVANE_MEMBERS_25, m26
#define CORVANE_MEMBERS_27 CORVANE_MEMBERS_26, m27
#define CORVANE_MEMBERS_28 CORVANE_MEMBERS_27, m28
#define CORVANE_MEMBERS_29 CORVANE_MEMBERS_28, m29
#define CORVANE_MEMBERS_30 CORVANE_MEMBERS_29, m30
#define CORVANE_MEMBERS_31 CORVANE_MEMBERS_30, m31
#define CORVANE_MEMBERS_32 CORVANE_MEMBERS_31, m32
#define CORVANE_MEMBERS_33 CORVANE_MEMBERS_32, m33
#define CORVANE_MEMBERS_34 CORVANE_MEMBERS_33, m34
#define CORVANE_MEMBERS_35 CORVANE_MEMBERS_34, m35
#define CORVANE_MEMBERS_36 CORVANE_MEMBERS_35, m36
#define CORVANE_MEMBERS_37 CORVANE_MEMBERS_36, m37
#define CORVANE_MEMBERS_38 CORVANE_MEMBERS_37, m38
#define CORVANE_MEMBERS_39 CORVANE_MEMBERS_38, m39
#define CORVANE_MEMBERS_40 CORVANE_MEMBERS_39, m40
#define CORVANE_MEMBERS_41 CORVANE_MEMBERS_40, m41
#define CORVANE_MEMBERS_42 CORVANE_MEMBERS_41, m42
#define CORVANE_MEMBERS_43 CORVANE_MEMBERS_42, m43
#define CORVANE_MEMBERS_44 CORVANE_MEMBERS_43, m44
#define CORVANE_MEMBERS_45 CORVANE_MEMBERS_44, m45
#define CORVANE_MEMBERS_46 CORVANE_MEMBERS_45, m46
#define CORVANE_MEMBERS_47 CORVANE_MEMBERS_46, m47
#define CORVANE_MEMBERS_48 CORVANE_MEMBERS_47, m48
#define CORVANE_MEMBERS_49 CORVANE_MEMBERS_48, m49
#define CORVANE_MEMBERS_50 CORVANE_MEMBERS_49, m50
#define CORVANE_MEMBERS_51 CORVANE_MEMBERS_50, m51
#define CORVANE_MEMBERS_52 CORVANE_MEMBERS_51, m52
#define CORVANE_MEMBERS_53 CORVANE_MEMBERS_52, m53
#define CORVANE_MEMBERS_54 CORVANE_MEMBERS_53, m54
#define CORVANE_MEMBERS_55 CORVANE_MEMBERS_54, m55
#define CORVANE_MEMBERS_56 CORVANE_MEMBERS_55, m56
#define CORVANE_MEMBERS_57 CORVANE_MEMBERS_56, m57
#define CORVANE_MEMBERS_58 CORVANE_MEMBERS_57, m58
#define CORVANE_MEMBERS_59 CORVANE_MEMBERS_58, m59
#define CORVANE_MEMBERS_60 CORVANE_MEMBERS_59, m60
#define CORVANE_MEMBERS_61 CORVANE_MEMBERS_60, m61
#define CORVANE_MEMBERS_62 CORVANE_MEMBERS_61, m62
#define CORVANE_MEMBERS_63 CORVANE_MEMBERS_62, m63
#define CORVANE_MEMBERS_64 CORVANE_MEMBERS_63, m64

#define CORVANE_VISIT(count)                        \
  else if constexpr (memberCount<std::remove_const_t<T>> == count) { \
    auto& [CORVANE_MEMBERS_##count] = object;       \
    if constexpr (std::is_same_v<Visit, ReferenceProbe>) { \
      return std::bool_constant<requires { bindAll(CORVANE_MEMBERS_##count); }>(); \
    } else {                                        \
      return visit(CORVANE_MEMBERS_##count);        \
    }                                               \
  }

template <class... Members>
void bindAll(Members&... members);

/// Asked in place of a visit: whether each member can be referred to, as a bit-field cannot.
struct ReferenceProbe {};

/// Calls `visit` with all members.
template <class T, class Visit>
constexpr auto visitMembers(T& object, Visit visit) {
  if constexpr (memberCount<std::remove_const_t<T>> == 0) {
    if constexpr (std::is_same_v<Visit, ReferenceProbe>) {
      return std::true_type();
    } else {
      return visit();
    }
  }
  CORVANE_VISIT(1) CORVANE_VISIT(2) CORVANE_VISIT(3) CORVANE_VISIT(4)
  CORVANE_VISIT(5) CORVANE_VISIT(6) CORVANE_VISIT(7) CORVANE_VISIT(8)
  CORVANE_VISIT(9) CORVANE_VISIT(10) CORVANE_VISIT(11) CORVANE_VISIT(12)
  CORVANE_VISIT(13) CORVANE_VISIT(14) CORVANE_VISIT(15) CORVANE_VISIT(16)
  CORVANE_VISIT(17) CORVANE_VISIT(18) CORVANE_VISIT(19) CORVANE_VISIT(20)
  CORVANE_VISIT(21) CORVANE_VISIT(22) CORVANE_VISIT(23) CORVANE_VISIT(24)
  CORVANE_VISIT(25) CORVANE_VISIT(26) CORVANE_VISIT(27) CORVANE_VISIT(28)
  CORVANE_VISIT(29) CORVANE_VISIT(30) CORVANE_VISIT(31) CORVANE_VISIT(32)
  CORVANE_VISIT(33) CORVANE_VISIT(34) CORVANE_VISIT(35) CORVANE_VISIT(36)
  CORVANE_VISIT(37) CORVANE_VISIT(38) CORVANE_VISIT(39) CORVANE_VISIT(40)
  CORVANE_VISIT(41) CORVANE_VISIT(42) CORVANE_VISIT(43) CORVANE_VISIT(44)
  CORVANE_VISIT(45) CORVANE_VISIT(46) CORVANE_VISIT(47) CORVANE_VISIT(48)
  CORVANE_VISIT(49) CORVANE_VISIT(50) CORVANE_VISIT(51) CORVANE_VISIT(52)
  CORVANE_VISIT(53) CORVANE_VISIT(54) CORVANE_VISIT(55) CORVANE_VISIT(56)
  CORVANE_VISIT(57) CORVANE_VISIT(58) CORVANE_VISIT(59) CORVANE_VISIT(60)
  CORVANE_VISIT(61) CORVANE_VISIT(62) CORVANE_VISIT(63) CORVANE_VISIT(64)
}

#undef CORVANE_VISIT
#undef CORVANE_MEMBERS_1
#undef CORVANE_MEMBERS_2
#undef CORVANE_MEMBERS_3
#undef CORVANE_MEMBERS_4
#undef CORVANE_MEMBERS_5
#undef CORVANE_MEMBERS_6
#undef CORVANE_MEMBERS_7
#undef CORVANE_MEMBERS_8
#undef CORVANE_MEMBERS_9
#undef CORVANE_MEMBERS_10
#undef CORVANE_MEMBERS_11
#undef CORVANE_MEMBERS_12
#undef CORVANE_MEMBERS_13
#undef CORVANE_MEMBERS_14
#undef CORVANE_MEMBERS_15
#undef CORVANE_MEMBERS_16
#undef CORVANE_MEMBERS_17
#undef CORVANE_MEMBERS_18
#undef CORVANE_MEMBERS_19
#undef CORVANE_MEMBERS_20
#undef CORVANE_MEMBERS_21
#undef CORVANE_MEMBERS_22
#undef CORVANE_MEMBERS_23
#undef CORVANE_MEMBERS_24
#undef CORVANE_MEMBERS_25
#undef CORVANE_MEMBERS_26
#undef CORVANE_MEMBERS_27
#undef CORVANE_MEMBERS_28
#undef CORVANE_MEMBERS_29
#undef CORVANE_MEMBERS_30
#undef CORVANE_MEMBERS_31
#undef CORVANE_MEMBERS_32
#undef CORVANE_MEMBERS_33
#undef CORVANE_MEMBERS_34
#undef CORVANE_MEMBERS_35
#undef CORVANE_MEMBERS_36
#undef CORVANE_MEMBERS_37
#undef CORVANE_MEMBERS_38
#undef CORVANE_MEMBERS_39
#undef CORVANE_MEMBERS_40
#undef CORVANE_MEMBERS_41
#undef CORVANE_MEMBERS_42
#undef CORVANE_MEMBERS_43
#undef CORVANE_MEMBERS_44
#undef CORVANE_MEMBERS_45
#undef CORVANE_MEMBERS_46
#undef CORVANE_MEMBERS_47
#undef CORVANE_MEMBERS_48
#undef CORVANE_MEMBERS_49
#undef CORVANE_MEMBERS_50
#undef CORVANE_MEMBERS_51
#undef CORVANE_MEMBERS_52
#undef CORVANE_MEMBERS_53
#undef CORVANE_MEMBERS_54
#undef CORVANE_MEMBERS_55
#undef CORVANE_MEMBERS_56
#undef CORVANE_MEMBERS_57
#undef CORVANE_MEMBERS_58
#undef CORVANE_MEMBERS_59
#undef CORVANE_MEMBERS_60
#undef CORVANE_MEMBERS_61
#undef CORVANE_MEMBERS_62
#undef CORVANE_MEMBERS_63
#undef CORVANE_MEMBERS_64
// clang-format on

/// Never made: an object whose members have addresses that the compiler can name.
template <class T>
union Exemplar {
  constexpr Exemplar() {}
  constexpr ~Exemplar() {}
  char nothing;
  T value;
};
#if defined(__clang__)
#pragma clang diagnostic push
#pragma clang diagnostic ignored "-Wundefined-var-template"
// Said of models that are local to a source file.
#pragma clang diagnostic ignored "-Wundefined-internal"
#endif
template <class T>
extern const Exemplar<T> exemplar;

struct MemberAddress {
  const void* address;
};

template <MemberAddress member>
constexpr std::string_view nameOfMember() {
  // "… [with … member = …{… ::value.User::name)}; …]" (GCC), "… [member = …{&exemplar.value.name}]" (Clang)
  std::string_view text = __PRETTY_FUNCTION__;
  text = text.substr(0, text.rfind('}'));
  while (text.back() == ')') text.remove_suffix(1);
  return text.substr(text.find_last_of(":.") + 1);
}

template <class T>
constexpr std::array<const void*, memberCount<T>> addressesOfMembers() {
  return visitMembers(exemplar<T>.value,
                      [](auto&... members) { return std::array<const void*, sizeof...(members)>{&members...}; });
}
#if defined(__clang__)
#pragma clang diagnostic pop
#endif

template <class T, std::size_t... indices>
constexpr auto namesOfMembers(std::index_sequence<indices...>) {
  constexpr std::array addresses = addressesOfMembers<T>();
  return std::array<std::string_view, sizeof...(indices)>{nameOfMember<MemberAddress{addresses[indices]}>()...};
}

/// A member that is a reference has no address of its own.
template <class T>
inline constexpr bool hasReference =
    !requires { typename std::bool_constant<(static_cast<void>(addressesOfMembers<T>()), true)>; };
template <class T>
inline constexpr bool hasBitField = !decltype(visitMembers(std::declval<T&>(), ReferenceProbe()))::value;

/// In the order of declaration.
template <class T>
inline constexpr std::array<std::string_view, memberCount<T>> memberNames =
    namesOfMembers<T>(std::make_index_sequence<memberCount<T>>());

template <class... Types>
struct TypeList {};

template <class T>
using MemberTypes = decltype(visitMembers(
    std::declval<T&>(), [](auto&... members) { return TypeList<std::remove_reference_t<decltype(members)>...>{}; }));

}  // namespace platform::detail
