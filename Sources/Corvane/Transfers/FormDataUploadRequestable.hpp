#pragma once

#include "Corvane/Transfers/HTTPFormData.hpp"
#include "Corvane/Transfers/UploadRequestable.hpp"

namespace corvane {

/// An upload of a form with files, as browsers send it (RFC 7578). `HTTPFormData` describes the form,
/// `UploadRequestable` the other properties and functions.
///
///     struct SendPhoto : FormDataUploadRequestable<SendPhoto, JSONResponse<Photo>> {
///       std::string title;
///       URL file;
///       URL url = "https://example.com/photos";
///       HTTPHeaders sharedHeaders() const { return {}; }
///       HTTPFormData body() const { return {{"title", title}, {"photo", file}}; }
///     };
///
/// Files are read while they are sent, and again where the form is sent again. A `contentEncoder` that encodes streams,
/// as `HTTPGzipContentEncoder` does, encodes the form on its way; its length is then not announced. A `contentType` of
/// the request's own has to name the boundary.
template <class Self, class ResponseType = detail::NoResponse>
class FormDataUploadRequestable : public UploadRequestable<Self, ResponseType, HTTPFormData> {};

}  // namespace corvane
