// Answers requests without a server: a call whose service does not exist yet, and one that a test answers otherwise.
//
//   example_Mock

#include <Corvane/Corvane.hpp>
#include <cstdio>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
};

struct GetUser : JSONGetRequestable<GetUser, User>, HTTPMockable<GetUser> {
  std::string login;

  URL baseURL = "https://api.example.com";
  std::string path() const { return "/users/" + login; }
  HTTPHeaders sharedHeaders() const { return {}; }

  std::optional<Data> mockResponseData() const { return Data(R"({"id": 1, "login": ")" + login + R"("})"); }
  std::string mockMimeType = "application/json";
};

struct DeleteUser : HTTPDeleteRequestable<DeleteUser, DataResponse>, HTTPTestMockable<DeleteUser> {
  std::int64_t id = 0;

  URL baseURL = "https://api.example.com";
  std::string path() const { return "/users/" + std::to_string(id); }
  HTTPHeaders sharedHeaders() const { return {}; }

  HTTPStatus mockStatus() const { return HTTPStatus::noContent; }
  HTTPStatus testStatus() const { return id == 1 ? HTTPStatus::forbidden : mockStatus(); }
};

int main() {
  Corvane::isNetworkForbidden = true;

  GetUser get;
  get.login = "ada";
  std::printf("%s\n", get.send().get().json().login.c_str());

  DeleteUser remove;
  remove.id = 1;
  const auto removed = remove.send().result();
  std::printf("%s\n", removed ? "removed" : removed.error()->message().c_str());

  const auto sent = DataGetRequest("https://api.example.com/users").send().result();
  std::printf("%s\n", sent ? "sent" : sent.error()->message().c_str());
}
