#include "Steps.hpp"

#include <chrono>
#include <cstdio>

#include "Corvane/ContentEncoding/HTTPGzipContentEncoder.hpp"
#include "Corvane/Corvane.hpp"
#include "Corvane/Request/HTTPMethodRequestable.hpp"
#include "CorvaneTesting/CertificateAuthority.hpp"
#include "CorvaneTesting/Ports.hpp"
#include "TestSupport/StandardRoutes.hpp"
#include "TestSupport/TemporaryDirectory.hpp"
#include "Vantorel/CapturingSink.hpp"
#include "Vantorel/LogRecord.hpp"
#include "Velisand/Task.hpp"

using namespace corvane;
using corvane::testkit::CertificateAuthority;
using corvane::testkit::CertificateRequest;
using corvane::testkit::MockResponse;
using corvane::testkit::ReceivedRequest;
using corvane::testkit::TemporaryDirectory;
using corvane::testkit::TestServer;
using corvane::testkit::Tls;

// Outside of any namespace, so that messages name them as they are read here.

// show: jsonGet
struct User {
  std::int64_t id;
  std::string login;
  std::optional<std::string> name;
};
// end

// show: jsonPost
struct NewUser {
  std::string login;
  std::vector<std::string> teams;
};
// end

// show: jsonFailure
struct Team {
  std::string name;
  std::vector<User> members;
};
// end

namespace {

// show: types
struct AddNote : HTTPPostRequestable<AddNote, DataResponse, std::string> {
  URL baseURL;
  std::string body;
  std::string path = "/post";
  HTTPMediaType contentType = HTTPMediaType::textPlain;
  std::optional<HTTPContentEncoderType> contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {{"X-App", "Demo"}}; }
};
// end

struct Wait : DataGetRequestable<Wait>, HTTPRequestCancelable<Wait> {
  URL url;
  double timeoutInterval = 60;
  HTTPHeaders sharedHeaders() const { return {}; }
};

/// Drains the main queue, where completions arrive, until the response is there.
template <class Request>
DataResponse responseTo(const Request& request, const std::function<void()>& meanwhile = {}) {
  std::optional<DataResponse> received;
  request.send([&received](DataResponse response) { received = std::move(response); });
  if (meanwhile) meanwhile();
  if (!DispatchQueue::main().runUntil([&received] { return received.has_value(); }, 20)) {
    throw std::runtime_error("no response in 20 seconds");
  }
  return *received;
}

std::string outcomeOf(const DataResponse& response) {
  if (const Error* error = response.result.error()) return error->message();
  return "success, " + std::to_string(response.result.body()->count()) + " bytes";
}

void showStatus(Stage& stage, const DataResponse& response) {
  stage.got("status", std::to_string(response.status.rawValue()) + " " + std::string(response.status.name()));
  stage.got("result", outcomeOf(response));
}

void playGet(Stage& stage, TestServer& server) {
  stage.step("A GET with query items and headers", "get", [&] {
    const std::string url = server.url("/get");
    // show: get
    DataGetRequest request(url, {.headers = {{"X-Trace", 42}}, .queryItems = {{"name", "Ada L."}, {"page", 2}}});
    const DataResponse response = responseTo(request);
    // end
    showStatus(stage, response);
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw",
              received.method + " " + received.target + ", X-Trace: " + received.header("X-Trace").value_or("-"));
    stage.check(response.status == HTTPStatus::success, "status 200");
    stage.check(received.target == "/get?name=Ada%20L.&page=2", "query items in order, percent-encoded");
    stage.check(received.header("X-Trace") == "42", "the header arrives");
  });
}

void playPosts(Stage& stage, TestServer& server) {
  stage.step("A POST", "post", [&] {
    const std::string url = server.url("/post");
    // show: post
    const DataResponse response = responseTo(DataPostRequest(url, Data("Hello from Corvane")));
    // end
    showStatus(stage, response);
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw", received.body + " (" + received.header("Content-Type").value_or("-") + ")");
    stage.check(received.method == "POST" && received.body == "Hello from Corvane", "the body arrives");
  });
  stage.step("A request type of one's own, whose body is gzip-encoded", "types", [&] {
    const AddNote note{.baseURL = URL(server.url()), .body = std::string(10'000, 'a')};
    const DataResponse response = responseTo(note);
    showStatus(stage, response);
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw", std::to_string(received.bodySize) + " bytes for 10000, Content-Encoding: " +
                                received.header("Content-Encoding").value_or("-"));
    stage.check(received.header("Content-Encoding") == "gzip" && received.bodySize < 1000, "fewer bytes on the wire");
    stage.check(response.result.body() != nullptr, "a success");
  });
}

void playFailures(Stage& stage, TestServer& server) {
  stage.step("A 404 is a failure that keeps what was received", "notFound", [&] {
    const std::string url = server.url("/status/404");
    // show: notFound
    const DataResponse response = responseTo(DataGetRequest(url));
    const auto* error = response.result.error()->as<HTTPResponseError>();
    // end
    showStatus(stage, response);
    stage.check(error && *error == HTTPResponseError::unacceptableStatus(HTTPStatus::notFound),
                "unacceptableStatus(notFound)");
    server.takeRequest();
  });
  stage.step("A refused connection", "refused", [&] {
    const std::string url = "http://127.0.0.1:" + std::to_string(corvane::testkit::unusedPort()) + "/";
    // show: refused
    const DataResponse response = responseTo(DataGetRequest(url));
    // end
    stage.got("result", outcomeOf(response));
    const auto* error = response.result.error() ? response.result.error()->as<CFNetworkErrors>() : nullptr;
    stage.check(error && error->rawValue() == -1004, "CFNetworkErrors -1004");
  });
  stage.step("A time-out", "timeout", [&] {
    const std::string url = server.url("/delay/20");
    const auto begin = std::chrono::steady_clock::now();
    // show: timeout
    const DataResponse response = responseTo(Wait{.url = url, .timeoutInterval = 0.3});
    // end
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%.2f s", elapsed.count());
    stage.got("result", outcomeOf(response));
    stage.got("after", seconds);
    const auto* error = response.result.error() ? response.result.error()->as<CFNetworkErrors>() : nullptr;
    stage.check(error && error->rawValue() == -1001, "CFNetworkErrors -1001");
    server.takeRequest();
  });
  stage.step("A cancellation", "cancel", [&] {
    const std::string url = server.url("/delay/20");
    // show: cancel
    const Wait request{.url = url};
    const DataResponse response = responseTo(request, [&] { request.cancel(); });
    // end
    stage.got("result", outcomeOf(response));
    const auto* error = response.result.error() ? response.result.error()->as<HTTPResponseError>() : nullptr;
    stage.check(error && *error == HTTPResponseError::taskCancelled(), "taskCancelled");
  });
}

std::string textOf(const User& user) {
  return std::to_string(user.id) + ", " + user.login + ", " + user.name.value_or("no name");
}

void playJSON(Stage& stage, TestServer& server) {
  stage.step("A GET whose response is JSON, as a plain struct", "jsonGet", [&] {
    const std::string url = server.url("/users/7");
    // show: jsonGet
    const User user = JSONGetRequest<User>(url).send().get().body;
    // end
    stage.got("user", textOf(user));
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw",
              received.method + " " + received.target + ", Accept: " + received.header("Accept").value_or("-"));
    stage.check(user.id == 7 && user.login == "ada" && user.name == "Ada Lovelace", "what the server sent");
    stage.check(received.header("Accept") == "application/json", "JSON is asked for");
  });
  stage.step("A POST of a plain struct, and the response as another", "jsonPost", [&] {
    const std::string url = server.url("/users");
    // show: jsonPost
    const NewUser newUser{.login = "ada", .teams = {"core", "docs"}};
    const User user = JSONPostRequest<User>(url, newUser).send().get().body;
    // end
    stage.got("user", textOf(user));
    const ReceivedRequest received = server.takeRequest();
    stage.got("server saw", received.body + " (" + received.header("Content-Type").value_or("-") + ")");
    stage.check(received.body == R"({"login":"ada","teams":["core","docs"]})", "the struct as JSON");
    stage.check(received.header("Content-Type") == "application/json", "sent as JSON");
    stage.check(user.id == 7 && user.login == "ada" && !user.name, "what the server answered; no name is no error");
  });
  stage.step("A response that is not what the struct asks for", "jsonFailure", [&] {
    server.handle("/team", [](const ReceivedRequest&) {
      return MockResponse().json(
          R"({"name": "core", "members": [{"id": 7, "login": "ada"}, {"id": "8", "login": "bob"}]})");
    });
    const std::string url = server.url("/team");
    const auto log = std::make_shared<vantorel::CapturingSink>();
    vantorel::setLogSink(log);
    // show: jsonFailure
    const auto result = JSONGetRequest<Team>(url).send().result();
    const auto error = *result.error()->as<HTTPResponseError>();
    const auto reason = *error.underlyingError()->as<DecodingError>();
    // end
    vantorel::setLogSink(nullptr);
    stage.got("error", error.message());
    stage.got("reason", reason.message());
    for (const auto& record : log->records())
      stage.got("logged", record.message.substr(0, record.message.find('\n')) + "...");
    stage.check(error.which() == HTTPResponseError::Case::jsonDecoding, "jsonDecoding");
    stage.check(reason.message() == "members[1].id: expected an integer, found a string", "the way to the value");
    server.takeRequest();
  });
}

// show: task
velisand::Task<std::size_t> bytesOf(URL first, URL second) {
  const auto one = co_await DataGetRequest(first).send();
  const auto two = co_await DataGetRequest(second).send();
  co_return one.body.count() + two.body.count();
}
// end

void playFutures(Stage& stage, TestServer& server) {
  stage.step("A future", "future", [&] {
    const std::string url = server.url("/bytes/1000");
    // show: future
    const HTTPResponse<Data> response = DataGetRequest(url).send().get();
    // end
    stage.got("body", std::to_string(response.body.count()) + " bytes");
    stage.check(response.body.count() == 1000, "1000 bytes");
  });
  stage.step("A coroutine that awaits two responses", "task", [&] {
    const std::size_t bytes = bytesOf(server.url("/bytes/300"), server.url("/stream/3")).get();
    stage.got("sum", std::to_string(bytes) + " bytes");
    stage.check(bytes > 300, "both bodies");
  });
}

void playTrust(Stage& stage) {
  const CertificateAuthority authority;
  TestServer secure(Tls(authority.issue(CertificateRequest::localhost())));
  installStandardRoutes(secure);
  const std::string url = secure.url("/get", "localhost");
  stage.step("A server whose certificate nobody vouches for", "untrusted", [&] {
    // show: untrusted
    const DataResponse response = responseTo(DataGetRequest(url));
    // end
    stage.got("result", outcomeOf(response));
    const auto* error = response.result.error() ? response.result.error()->as<CFNetworkErrors>() : nullptr;
    stage.check(error && error->rawValue() == -1203, "CFNetworkErrors -1203");
    stage.check(secure.requestCount() == 0, "nothing was sent to it");
  });
  stage.step("The same server, trusted through a certificate of our own", "trusted", [&] {
    const TemporaryDirectory directory;
    const std::string file = directory.write("authority.der", authority.certificate().der());
    // show: trusted
    Corvane::addTrustedCertificate(URL::file(file));
    const DataResponse response = responseTo(DataGetRequest(url));
    // end
    showStatus(stage, response);
    stage.check(response.status == HTTPStatus::success, "status 200");
    Corvane::removeTrustedCertificates();
  });
}

void playDebugging(Stage& stage, TestServer& server) {
  stage.step("The command line of a request", "curl", [&] {
    const std::string url = server.url("/post");
    // show: curl
    DataPostRequest request(url, Data("it's a body"), {{"X-Trace", 42}}, {});
    const std::string forLogs = request.curlCommand();
    const std::string forTheShell = request.shellCommand().text;
    // end
    stage.got("for logs", forLogs);
    stage.got("to paste", forTheShell);
    stage.check(forLogs.starts_with("curl -X POST '" + url + "'"), "names method and URL");
  });
  stage.step("Verbose debug output", "verbose", [&] {
    const std::string url = server.url("/gzip");
    const auto log = std::make_shared<vantorel::CapturingSink>();
    vantorel::setLogSink(log);
    // show: verbose
    Corvane::verbosity = HTTPVerbosityLevel::verbose;
    const DataResponse response = responseTo(DataGetRequest(url));
    Corvane::verbosity = HTTPVerbosityLevel::none;
    // end
    vantorel::setLogSink(nullptr);
    const auto records = log->records();
    for (const auto& record : records) {
      stage.got("message", record.message);
      if (!record.userInfo) continue;
      for (const auto& [key, value] : *record.userInfo) stage.got(key, value.description());
    }
    stage.check(records.size() == 1, "one record");
    stage.check(response.result.body() != nullptr, "a success");
  });
}

}  // namespace

void playAll(Stage& stage, TestServer& server) {
  playGet(stage, server);
  playPosts(stage, server);
  playJSON(stage, server);
  playFailures(stage, server);
  playTransfers(stage);
  playBehaviours(stage);
  playFutures(stage, server);
  playTrust(stage);
  playDebugging(stage, server);
}
