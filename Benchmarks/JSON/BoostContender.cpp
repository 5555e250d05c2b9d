#include <boost/describe.hpp>
#include <boost/json.hpp>
#include <type_traits>

#include "JSON/Contender.hpp"

namespace bench {

BOOST_DESCRIBE_STRUCT(Owner, (), (id, login, kind, verified, followers))
BOOST_DESCRIBE_STRUCT(Record, (),
                      (id, name, description, owner, archived, score, stars, tags, samples, createdAt, homepage))

namespace {

template <class T>
constexpr bool isOptional = false;
template <class T>
constexpr bool isOptional<std::optional<T>> = true;

}  // namespace

/// The library's own conversion (1.81) refuses an object where an optional member is absent.
Record tag_invoke(boost::json::value_to_tag<Record>, const boost::json::value& value) {
  using Members = boost::describe::describe_members<Record, boost::describe::mod_public>;
  const boost::json::object& object = value.as_object();
  Record record;
  boost::mp11::mp_for_each<Members>([&](auto member) {
    using Value = std::remove_reference_t<decltype(record.*member.pointer)>;
    const boost::json::value* found = object.if_contains(member.name);
    if (found != nullptr || !isOptional<Value>) {
      record.*member.pointer = boost::json::value_to<Value>(found != nullptr ? *found : object.at(member.name));
    }
  });
  return record;
}

Contender boostContender() {
  return {.name = "Boost.JSON",
          .prepareDecoding =
              [](const std::string& text) {
                return [text] {
                  boost::json::monotonic_resource memory;
                  return boost::json::value_to<Records>(boost::json::parse(text, &memory));
                };
              },
          .encode = [](const Records& records,
                       const Contender::Show& show) { show(boost::json::serialize(boost::json::value_from(records))); },
          .goalInOrder = 1.5,
          .goalInAnyOrder = 1.5};
}

}  // namespace bench
