#include "Corvane/Request/RequestKinds.hpp"

#include <gtest/gtest.h>

#include "Corvane/Corvane.hpp"

namespace corvane {
namespace {

struct User {
  std::string login;
};

/// A response of the application's own: of bytes, or of a model.
template <class BodyType>
struct OwnResponse : ResponseRecord {
  using Result = HTTPResult<BodyType>;

  OwnResponse(std::optional<Data> bytes, std::optional<URL>, std::shared_ptr<const URLResponse> response,
              std::optional<Error> error)
      : ResponseRecord(of(response, bytes)),
        result(error ? Result::failure(*std::move(error)) : Result::success(std::nullopt)) {}
  std::string debugDescription() const { return "own"; }

  Result result;
};

struct WithoutSharedHeaders {
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct GetOwnData : DataGetRequestable<GetOwnData, OwnResponse<Data>>, WithoutSharedHeaders {};
struct PostOwnData : DataPostRequestable<PostOwnData, std::string, OwnResponse<Data>>, WithoutSharedHeaders {
  std::string body;
  HTTPMediaType contentType = "text/plain";
};
struct GetOwnUser : JSONGetRequestable<GetOwnUser, User, OwnResponse<User>>, WithoutSharedHeaders {};
struct PutOwnUser : JSONPutRequestable<PutOwnUser, User, User, OwnResponse<User>>, WithoutSharedHeaders {
  User body;
};
struct GetWithAMethod : DataGetRequestable<GetWithAMethod>, WithoutSharedHeaders {
  HTTPMethod method = HTTPMethod("HEAD");
};
struct DerivedGet : GetOwnData {};

TEST(RequestKindsTest, refinesTheInterfaceOfTheMethod) {
  EXPECT_TRUE((std::derived_from<GetOwnData, HTTPGetRequestable<GetOwnData, OwnResponse<Data>>>));
  EXPECT_TRUE((std::derived_from<DataGetRequest, HTTPGetRequestable<DataGetRequest, DataResponse>>));
  EXPECT_TRUE((std::derived_from<DataHeadRequest, HTTPHeadRequestable<DataHeadRequest, DataResponse>>));
  EXPECT_TRUE((std::derived_from<DataPostRequest, HTTPPostRequestable<DataPostRequest, DataResponse>>));
  EXPECT_TRUE((std::derived_from<DataPutRequest, HTTPPutRequestable<DataPutRequest, DataResponse>>));
  EXPECT_TRUE((std::derived_from<DataPatchRequest, HTTPPatchRequestable<DataPatchRequest, DataResponse>>));
  EXPECT_TRUE((std::derived_from<DataDeleteRequest, HTTPDeleteRequestable<DataDeleteRequest, DataResponse>>));
}

TEST(RequestKindsTest, refinesTheInterfaceOfItsResponse) {
  EXPECT_TRUE((std::derived_from<DataGetRequest, DataRequestable<DataGetRequest>>));
  EXPECT_TRUE((std::derived_from<DataRequest, DataRequestable<DataRequest>>));
  EXPECT_TRUE((std::derived_from<GetOwnData, DataRequestable<GetOwnData, OwnResponse<Data>>>));
  EXPECT_TRUE((std::derived_from<GetOwnUser, JSONRequestable<GetOwnUser, User, OwnResponse<User>>>));
}

TEST(RequestKindsTest, knowsARequestByItsOwnType) {
  EXPECT_TRUE(AnyRequest<GetOwnData>);
  EXPECT_TRUE(AnyRequest<DownloadGetRequest<>>);
  EXPECT_FALSE(AnyRequest<DerivedGet>);
  EXPECT_FALSE(AnyRequest<User>);
}

TEST(RequestKindsTest, knowsTheMethodThatTheTypeFixes) {
  EXPECT_TRUE(AnyGetRequest<DataGetRequest>);
  EXPECT_TRUE(AnyGetRequest<JSONGetRequest<User>>);
  EXPECT_TRUE(AnyGetRequest<GetOwnUser>);
  EXPECT_TRUE(AnyGetRequest<DownloadGetRequest<>>);
  EXPECT_TRUE(AnyHeadRequest<DataHeadRequest>);
  EXPECT_FALSE(AnyGetRequest<DataHeadRequest>);
  EXPECT_TRUE(AnyPostRequest<PostOwnData>);
  EXPECT_TRUE(AnyPostRequest<JSONPostRequest<User>>);
  EXPECT_TRUE(AnyPutRequest<PutOwnUser>);
  EXPECT_TRUE(AnyPatchRequest<DataPatchRequest>);
  EXPECT_TRUE(AnyDeleteRequest<JSONDeleteRequest<User>>);
  EXPECT_FALSE(AnyGetRequest<GetWithAMethod>);
  EXPECT_FALSE(AnyGetRequest<DataRequest>);
  EXPECT_FALSE(AnyGetRequest<DownloadRequest<>>);
  EXPECT_FALSE(AnyPostRequest<DataUploadRequest>);
}

TEST(RequestKindsTest, knowsABodyAndWhatTheResponseHolds) {
  EXPECT_TRUE(AnyBodyRequest<PostOwnData>);
  EXPECT_TRUE(AnyBodyRequest<PutOwnUser>);
  EXPECT_TRUE(AnyBodyRequest<FileUploadRequest>);
  EXPECT_FALSE(AnyBodyRequest<DataGetRequest>);
  EXPECT_TRUE(AnyDataRequest<GetOwnData>);
  EXPECT_FALSE(AnyDataRequest<GetOwnUser>);
  EXPECT_TRUE(AnyJSONRequest<GetOwnUser>);
  EXPECT_TRUE(AnyJSONRequest<JSONRequest<User>>);
  EXPECT_FALSE(AnyJSONRequest<DataGetRequest>);
}

TEST(RequestKindsTest, keepsTheDefaultsBesideAResponseOfItsOwn) {
  EXPECT_EQ(GetOwnData().method(), HTTPMethod::get);
  EXPECT_EQ(GetOwnUser().method(), HTTPMethod::get);
  EXPECT_EQ(GetOwnUser().acceptType(), HTTPMediaType::json);
  EXPECT_EQ(PutOwnUser().contentType(), HTTPMediaType::json);
  EXPECT_TRUE((std::same_as<GetOwnUser::Response, OwnResponse<User>>));
}

}  // namespace
}  // namespace corvane
