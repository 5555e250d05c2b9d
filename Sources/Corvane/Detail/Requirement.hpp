#pragma once

#include <concepts>
#include <type_traits>

#include "Corvane/Detail/RequirementReading.hpp"
#include "Corvane/Detail/StaticOwner.hpp"
#include "Platform/Dispatch/DispatchTime.hpp"

/// A requirement of a request is described once, by one of the macros below. The description is an object that finds
/// the requirement in a type, checks it, reads it, and knows the names that are it misspelt:
///
///     CORVANE_REQUIREMENT(path, ConvertibleTo<std::string>, "must convert to std::string", "std::string", (Path), ())
///
///     path.check<GetUser>();                  // refuses a `path` of another type
///     path.checkSpelling<GetUser, Mixin>();   // refuses a `Path`
///     path(user);                             // reads it
namespace corvane::detail {

/// The first argument of a description: what the requirement may be read as.
template <class T>
struct ConvertibleTo {
  template <class Member, class Self>
  static constexpr bool isReadFrom = ReadsAs<Member, Self, T>;
};

/// A boolean, without conversions: a number or a pointer is none.
struct Boolean {
  template <class Member, class Self>
  static constexpr bool isReadFrom = requires(Member member, const Self& self) {
    requires std::same_as<std::remove_cvref_t<decltype(read(member, self))>, bool>;
  };
};

struct Integer {
  template <class Member, class Self>
  static constexpr bool isReadFrom = requires(Member member, const Self& self) {
    requires std::integral<std::remove_cvref_t<decltype(read(member, self))>>;
    requires !std::same_as<std::remove_cvref_t<decltype(read(member, self))>, bool>;
  };
};

/// A number of seconds, or a `std::chrono` duration.
struct SecondsOrDuration {
  template <class Member, class Self>
  static constexpr bool isReadFrom = ReadsAs<Member, Self, platform::Seconds> || ReadsAs<Member, Self, double>;
};

/// What the type names as its `Body`.
struct ConvertibleToBody {
  template <class Member, class Self>
  static constexpr bool isReadFrom = ReadsAs<Member, Self, typename Self::Body>;
};

/// A static member, function or data.
template <class Value>
struct OfTheType {
  template <class Member, class Self>
  static constexpr bool isReadFrom =
      (IsStaticFunction<Member> || IsStaticData<Member>) && Value::template isReadFrom<Member, Self>;
};

/// Whether a member is one of another base class, as of one that all requests of a service have in common. For a
/// static member see `isInheritedStatic`.
template <class Self, class Member>
inline constexpr bool isOfAnother = false;
template <class Self, class Class, class Type>
inline constexpr bool isOfAnother<Self, Type Class::*> = !std::same_as<Self, Class>;
template <class Self, class Member>
concept OwnMember = !isOfAnother<Self, Member>;

/// Checks several requirements, and tells of each that is wrong.
template <class Self, class... Requirements>
constexpr bool check(const Requirements&... requirements) {
  return (requirements.template check<Self>() && ...);
}

// Applies a macro to each name of a list: CORVANE_EACH(APPLY, first, a, b) is APPLY(first, a) APPLY(first, b). A list
// has at most eight names.
#define CORVANE_EACH(apply, first, ...) __VA_OPT__(CORVANE_SCAN(CORVANE_STEP(apply, first, __VA_ARGS__)))
#define CORVANE_STEP(apply, first, name, ...) \
  apply(first, name) __VA_OPT__(CORVANE_STEP_AGAIN CORVANE_NO_ARGUMENTS(apply, first, __VA_ARGS__))
#define CORVANE_STEP_AGAIN() CORVANE_STEP
#define CORVANE_NO_ARGUMENTS ()
#define CORVANE_SCAN(...) CORVANE_SCAN_TWICE(CORVANE_SCAN_TWICE(CORVANE_SCAN_TWICE(CORVANE_SCAN_TWICE(__VA_ARGS__))))
#define CORVANE_SCAN_TWICE(...) CORVANE_SCAN_ONCE(CORVANE_SCAN_ONCE(__VA_ARGS__))
#define CORVANE_SCAN_ONCE(...) __VA_ARGS__
#define CORVANE_NAMES(...) __VA_ARGS__

#define CORVANE_REFUSE(property, wrong) \
  static_assert(!requires { &Self::wrong; }, "`" #wrong "` is no requirement of a request: write `" #property "`");
#define CORVANE_REFUSE_ALONE(property, wrong)                           \
  static_assert(!(requires { &Self::wrong; } && isLeftTo<Self, Mixin>), \
                "`" #wrong "` is no requirement of a request: write `" #property "`, or state that, too");

// Describes a requirement, in the namespace `detail::requirement`.
//   Kind             what it may be read as
//   missing, wrong   what the errors say of it where a type has none, and where it is of another kind
//   misspelt         names that differ from it in case or underscores; always refused
//   near             names that are refused where a type leaves the requirement to the mixin; beside a requirement of
//                    its own they are plain data: `std::string query` beside `queryItems` is a search word
//   unread           what to do about it in a request that nothing reads it from
#define CORVANE_DESCRIBE(property, Kind, missing, wrong, misspelt, near, unread)                                    \
  struct property##Requirement {                                                                                    \
    template <class Self>                                                                                           \
    static constexpr bool isStated = requires { &Self::property; };                                                 \
    template <class Self>                                                                                           \
    static constexpr bool fits = requires { requires Kind::template isReadFrom<decltype(&Self::property), Self>; }; \
    template <class Self, class Mixin>                                                                              \
    static constexpr bool isLeftTo =                                                                                \
        requires { requires std::same_as<decltype(&Self::property), decltype(&Mixin::property)>; };                 \
                                                                                                                    \
    template <class Self>                                                                                           \
    static constexpr bool check() {                                                                                 \
      static_assert(isStated<Self>, "`" #property "` " missing);                                                    \
      static_assert(!isStated<Self> || fits<Self>, "`" #property "` " wrong);                                       \
      return fits<Self>;                                                                                            \
    }                                                                                                               \
    template <class Self, class Mixin>                                                                              \
    static constexpr void checkSpelling() {                                                                         \
      CORVANE_EACH(CORVANE_REFUSE, property, CORVANE_NAMES misspelt)                                                \
      CORVANE_EACH(CORVANE_REFUSE_ALONE, property, CORVANE_NAMES near)                                              \
    }                                                                                                               \
    template <class Self>                                                                                           \
    static constexpr void refuseUnread() {                                                                          \
      static_assert(                                                                                                \
          !requires { requires OwnMember<Self, decltype(&Self::property)>; } ||                                     \
              requires { requires isInheritedStatic<Self, &Self::property>(); },                                    \
          "`" #property "` does nothing in this request: " unread);                                                 \
    }                                                                                                               \
                                                                                                                    \
    template <class Self>                                                                                           \
    constexpr decltype(auto) operator()(const Self& self) const {                                                   \
      return detail::read(&Self::property, self);                                                                   \
    }                                                                                                               \
    template <class Self>                                                                                           \
    static constexpr decltype(auto) ofType() {                                                                      \
      return detail::read(&Self::property, 0);                                                                      \
    }                                                                                                               \
  };                                                                                                                \
  inline constexpr property##Requirement property;

#define CORVANE_HOW_TO_WRITE(property, type) \
  ": write `" type " " #property "() const`, or a stored or static member of such a type"

// A requirement that has a default, so that it cannot be missing.
#define CORVANE_REQUIREMENT(property, Kind, rule, type, misspelt, near)       \
  CORVANE_DESCRIBE(property, Kind, rule CORVANE_HOW_TO_WRITE(property, type), \
                   rule CORVANE_HOW_TO_WRITE(property, type), misspelt, near, "")
// A requirement without a default; `hint` is added where it is missing.
#define CORVANE_REQUIRED(property, Kind, rule, type, hint, misspelt, near)                  \
  CORVANE_DESCRIBE(property, Kind, "is required" CORVANE_HOW_TO_WRITE(property, type) hint, \
                   rule CORVANE_HOW_TO_WRITE(property, type), misspelt, near, "")

}  // namespace corvane::detail
