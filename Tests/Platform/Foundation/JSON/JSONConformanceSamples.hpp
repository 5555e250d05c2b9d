#pragma once

#include <ostream>
#include <span>
#include <string_view>

namespace platform::json_conformance {

/// A text, and in a few words what it is.
struct Sample {
  std::string_view name;
  std::string_view text;
};

/// A part of the grammar of RFC 8259, and texts that show it.
struct Group {
  std::string_view name;
  std::span<const Sample> samples;
};

/// Keeps the names of parametrised tests readable.
inline std::ostream& operator<<(std::ostream& stream, const Group& group) { return stream << group.name; }

/// Documents that RFC 8259 requires a parser to accept.
extern const Group acceptedStructures;
extern const Group acceptedNumbers;
extern const Group acceptedStrings;

/// Texts that are no JSON documents. None of them becomes one where it stands between
/// `{"ignored": ` and `, "kept": 1}`.
extern const Group rejectedStructures;
extern const Group rejectedLiterals;
extern const Group rejectedNumbers;
extern const Group rejectedStrings;
extern const Group rejectedUTF8;

/// What RFC 8259 leaves to the parser, by our choice.
extern const Group chosenToAccept;
extern const Group chosenToReject;
/// Numbers that no double can hold (section 6): refused where they are read.
extern const Group numbersOutOfRange;
/// Accepted or refused for where they stand, so that they say nothing about a value inside a document.
extern const Group chosenToAcceptAtTheStart;
extern const Group chosenToRejectAtTheStart;

}  // namespace platform::json_conformance
