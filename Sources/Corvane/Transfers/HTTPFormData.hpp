#pragma once

#include <cstdint>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Corvane/Request/HTTPMediaType.hpp"
#include "Corvane/Transfers/HTTPFormPart.hpp"
#include "Platform/Export.hpp"
#include "Platform/Foundation/Data.hpp"
#include "Platform/Loading/URLBodyStream.hpp"

namespace corvane {

/// A form with files, as browsers send it and servers read it: a body of the type "multipart/form-data" (RFC 7578).
///
///     HTTPFormData{{"title", "Visits"}, {"visits", URL::file("visits.csv")}}
///
/// The parts keep their order, and a name may be repeated. Files and producers are read while the form is sent, so it
/// takes little memory whatever their size. With a file or a producer of unknown length the form has no
/// "Content-Length". A form of values alone is built in memory. `MultipartForm` is another layout, for services that
/// expect that one.
///
/// Every form has a boundary of its own, random, and never one that occurs in a value; no server can know it before. A
/// copy of a form has the same one. Not thread-safe while it is changed.
class CORVANE_API HTTPFormData {
 public:
  /// A form without parts, and with a random boundary.
  HTTPFormData();
  /// The parts in their order, and a random boundary.
  HTTPFormData(std::initializer_list<HTTPFormPart> parts);
  /// A form with that boundary, for output that is the same each time. Throws `MultipartError::invalidBoundary` for
  /// text that is no boundary: 1 to 70 characters, letters, digits, and `'()+_,-./:=?` (RFC 2046, 5.1.1).
  static HTTPFormData withBoundary(std::string boundary);

  /// Adds a part at the end. Throws `MultipartError::boundaryInContent` for a value that contains a boundary of your
  /// own; a random one is replaced.
  void append(HTTPFormPart part);
  /// In the order in which they are sent.
  const std::vector<HTTPFormPart>& parts() const { return parts_; }
  /// The boundary, without the hyphens before it.
  const std::string& boundary() const { return boundary_; }
  /// "multipart/form-data", with the boundary.
  HTTPMediaType contentType() const;

  /// The form while it is made; null where all parts are values. Its files have the length of this moment. Throws what
  /// opening a file throws: see `HTTPBodyProducer::ofFile`.
  std::shared_ptr<platform::URLBodyStream> bodyStream() const;
  /// The form in memory. Traps when a part is a file or a producer.
  platform::Data asData() const;

 private:
  bool isInMemory() const;
  bool isBoundaryIn(const HTTPFormPart& part) const;
  /// The lines before the part in that place, or after the last one.
  std::string linesBefore(std::size_t place) const;

  std::vector<HTTPFormPart> parts_;
  std::string boundary_;
  bool isBoundaryRandom_ = true;
};

}  // namespace corvane
