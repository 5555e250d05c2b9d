#include "TestSupport/StandardRoutes.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>

#include "CorvaneTesting/Compression.hpp"
#include "CorvaneTesting/Internal/Text.hpp"
#include "CorvaneTesting/ReceivedForm.hpp"
#include "Platform/Foundation/Internal/RealFromChars.hpp"

namespace corvane::testkit {

namespace {

using detail::jsonString;

constexpr std::uint64_t mostChunks = 10'000;
constexpr std::uint64_t mostBytes = std::uint64_t(1) << 40;

std::string headersJson(const ReceivedRequest& request) {
  std::string json = "[";
  for (const HeaderField& field : request.headers) {
    json += json.size() > 1 ? ", " : "";
    json += "[" + jsonString(field.name) + ", " + jsonString(field.value) + "]";
  }
  return json + "]";
}

std::string requestJson(const ReceivedRequest& request) {
  return "{\"method\": " + jsonString(request.method) + ", \"target\": " + jsonString(request.target) +
         ", \"headers\": " + headersJson(request);
}

/// What follows the route's prefix.
std::string argument(const ReceivedRequest& request, std::string_view prefix) {
  return request.path().substr(prefix.size());
}

MockResponse badArgument(const std::string& what) { return MockResponse(400).text(what + "\n"); }

bool canStandInAHeader(const std::string& text) {
  return std::none_of(text.begin(), text.end(),
                      [](char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7F; });
}

/// A route with a whole number at its end.
TestServer::Handler withNumber(std::string prefix, std::uint64_t most,
                               MockResponse (*response)(const ReceivedRequest&, std::uint64_t)) {
  return [prefix = std::move(prefix), most, response](const ReceivedRequest& request) {
    const auto value = detail::number(argument(request, prefix));
    if (value && *value <= most) return response(request, *value);
    return badArgument(prefix + " takes a number from 0 to " + std::to_string(most));
  };
}

MockResponse describe(const ReceivedRequest& request) { return MockResponse().json(requestJson(request) + "}\n"); }

MockResponse describeHeaders(const ReceivedRequest& request) {
  return MockResponse().json("{\"headers\": " + headersJson(request) + "}\n");
}

MockResponse echo(const ReceivedRequest& request) {
  return MockResponse()
      .contentType(request.header("Content-Type").value_or("application/octet-stream"))
      .body(request.body);
}

/// The echo of the content once its coding is undone, and how long it is then.
MockResponse post(const ReceivedRequest& request) {
  const std::string coding = request.header("Content-Encoding").value_or("identity");
  if (coding != "identity" && coding != "gzip")
    return MockResponse(415).text("unknown content coding " + coding + "\n");
  try {
    const std::string content = coding == "gzip" ? gunzipped(request.body) : request.body;
    return MockResponse()
        .contentType(request.header("Content-Type").value_or("application/octet-stream"))
        .header("X-Received-Length", std::to_string(request.bodySize))
        .header("X-Decoded-Length", std::to_string(content.size()))
        .body(content);
  } catch (const std::runtime_error& error) {
    return MockResponse(400).text(std::string(error.what()) + "\n");
  }
}

MockResponse status(const ReceivedRequest&, std::uint64_t code) {
  if (code < 200) return badArgument("/status/ takes a final status, from 200 to 999");
  return MockResponse(static_cast<int>(code))
      .text(std::to_string(code) + " " + reasonPhrase(static_cast<int>(code)) + "\n");
}

MockResponse delayed(const ReceivedRequest& request) {
  const std::string text = argument(request, "/delay/");
  double seconds = -1;
  const auto result = platform::detail::from_chars(text.data(), text.data() + text.size(), seconds);
  if (result.ptr != text.data() + text.size() || !(seconds >= 0 && seconds <= 3600)) {
    return badArgument("/delay/ takes seconds, from 0 to 3600");
  }
  return describe(request).delay(Moment::beforeStatusLine,
                                 std::chrono::milliseconds(static_cast<long>(seconds * 1000)));
}

MockResponse gzipEncoded(const ReceivedRequest& request) {
  return MockResponse().contentType("application/json").gzipBody(requestJson(request) + ", \"gzipped\": true}\n");
}

/// May be stored for so many seconds.
MockResponse cacheable(const ReceivedRequest& request, std::uint64_t seconds) {
  return MockResponse()
      .contentType("application/json")
      .header("Cache-Control", "public, max-age=" + std::to_string(seconds))
      .body(requestJson(request) + "}\n");
}

MockResponse bytes(const ReceivedRequest&, std::uint64_t count) {
  return MockResponse().contentType("application/octet-stream").generatedBody(count);
}

/// The first byte that is asked for; 0 for the whole. One range without an end is all that is understood here.
std::uint64_t firstByte(const ReceivedRequest& request, const std::string& tag, std::uint64_t size) {
  std::string range = request.header("Range").value_or("");
  if (!range.starts_with("bytes=") || !range.ends_with('-') || request.header("If-Range").value_or(tag) != tag)
    return 0;
  const auto first = detail::number(range.substr(6, range.size() - 7));
  return first && *first < size ? *first : 0;
}

/// The generated bytes, or the rest of them; the connection breaks after so many bytes.
MockResponse fileContent(const ReceivedRequest& request, std::uint64_t size, std::uint64_t cut) {
  const std::string tag = "\"" + std::to_string(size) + "\"";
  const std::uint64_t first = firstByte(request, tag, size);
  MockResponse response(first == 0 ? 200 : 206);
  response.contentType("application/octet-stream").header("ETag", tag);
  if (first == 0) {
    response.generatedBody(size);
  } else {
    response.header("Content-Range",
                    "bytes " + std::to_string(first) + "-" + std::to_string(size - 1) + "/" + std::to_string(size));
    response.body(generatedBytes(static_cast<std::size_t>(size - first), first));
  }
  return cut < size - first ? response.dropConnection(Moment::insideBody, cut) : response;
}

/// A file to save under the name in the path, whatever name that is.
MockResponse file(const ReceivedRequest& request) {
  const std::string name = detail::percentDecoded(argument(request, "/files/"));
  const auto size = detail::number(request.queryValue("size").value_or("1000000"));
  if (!canStandInAHeader(name)) return badArgument("/files/ takes no control characters");
  if (!size || *size > mostBytes) return badArgument("?size= takes a number from 0 to " + std::to_string(mostBytes));
  std::string quoted;
  for (const char c : name) quoted += c == '"' || c == '\\' ? std::string("\\") + c : std::string(1, c);
  const auto cut = detail::number(request.queryValue("cut").value_or(std::to_string(mostBytes)));
  if (!cut) return badArgument("?cut= takes a number");
  MockResponse response = fileContent(request, *size, *cut);
  return response.header("Content-Disposition", "attachment; filename=\"" + quoted + "\"");
}

/// What the sections of a form are.
MockResponse form(const ReceivedRequest& request) {
  try {
    std::string json;
    for (const ReceivedSection& section : formSections(request)) {
      json += json.empty() ? "" : ", ";
      json += "{\"name\": " + jsonString(section.name);
      if (section.fileName) json += ", \"fileName\": " + jsonString(*section.fileName);
      if (section.contentType) json += ", \"type\": " + jsonString(*section.contentType);
      json += ", \"content\": " + jsonString(section.content) + "}";
    }
    return MockResponse().json("{\"sections\": [" + json + "]}\n");
  } catch (const std::runtime_error& error) {
    return MockResponse(400).text(std::string(error.what()) + "\n");
  }
}

MockResponse stream(const ReceivedRequest& request, std::uint64_t count) {
  std::vector<Chunk> chunks;
  for (std::uint64_t index = 0; index < count; ++index) {
    chunks.emplace_back(requestJson(request) + ", \"line\": " + std::to_string(index) + "}\n");
  }
  return MockResponse().contentType("application/x-ndjson").chunked(std::move(chunks));
}

/// Two events for each connection, from where the client was, until there were so many.
MockResponse events(const ReceivedRequest& request, std::uint64_t count) {
  const std::uint64_t last = detail::number(request.header("Last-Event-ID").value_or("0")).value_or(0);
  if (last >= count) return MockResponse(204);
  std::vector<Chunk> chunks{std::string("retry: 10\n\n")};
  for (std::uint64_t id = last + 1; id <= std::min(count, last + 2); ++id) {
    const std::string number = std::to_string(id);
    chunks.emplace_back("event: tick\nid: " + number + "\ndata: " + number + " of " + std::to_string(count) + "\n\n");
  }
  return MockResponse().contentType("text/event-stream").chunked(std::move(chunks));
}

/// Fails so many requests for each path in a row, then answers one; from the start again after that.
TestServer::Handler flaky() {
  struct Failures {
    std::mutex mutex;
    std::map<std::string, std::uint64_t> byPath;
  };
  return [failures = std::make_shared<Failures>()](const ReceivedRequest& request) {
    const auto most = detail::number(argument(request, "/flaky/"));
    if (!most) return badArgument("/flaky/ takes the number of failures before a response");
    const std::lock_guard lock(failures->mutex);
    std::uint64_t& count = failures->byPath[request.path()];
    if (count++ < *most) return MockResponse(503).text("not yet\n");
    failures->byPath.erase(request.path());
    return MockResponse().text("done\n");
  };
}

MockResponse drop(const ReceivedRequest&) { return MockResponse().dropConnection(Moment::beforeStatusLine); }

MockResponse redirect(const ReceivedRequest&, std::uint64_t count) {
  const std::string target = count <= 1 ? "/get" : "/redirect/" + std::to_string(count - 1);
  return MockResponse(302).header("Location", target);
}

MockResponse redirectTo(const ReceivedRequest& request) {
  const auto url = request.queryValue("url");
  if (!url || !canStandInAHeader(*url)) return badArgument("/redirect-to takes ?url=, without control characters");
  const auto code = detail::number(request.queryValue("status").value_or("302"));
  if (!code || *code < 300 || *code > 399) return badArgument("/redirect-to takes a status from 300 to 399");
  return MockResponse(static_cast<int>(*code)).header("Location", *url);
}

MockResponse setCookies(const ReceivedRequest& request) {
  MockResponse response(302);
  response.header("Location", "/cookies");
  const std::string items = request.query().value_or("");
  for (std::string_view rest = items; !rest.empty();) {
    const std::string_view item = rest.substr(0, rest.find('&'));
    rest.remove_prefix(std::min(item.size() + 1, rest.size()));
    const std::string cookie = detail::percentDecoded(item);
    if (!canStandInAHeader(cookie)) return badArgument("/cookies/set takes no control characters");
    response.header("Set-Cookie", cookie + "; Path=/");
  }
  return response;
}

MockResponse cookies(const ReceivedRequest& request) {
  std::string json;
  for (const std::string& value : request.headerValues("Cookie")) {
    for (std::string_view rest = value; !rest.empty();) {
      const std::string_view pair = detail::trimmed(rest.substr(0, rest.find(';')));
      rest.remove_prefix(std::min(rest.find(';'), rest.size() - 1) + 1);
      const std::size_t equals = std::min(pair.find('='), pair.size());
      json += (json.empty() ? "" : ", ") + jsonString(pair.substr(0, equals)) + ": " +
              jsonString(pair.substr(std::min(equals + 1, pair.size())));
    }
  }
  return MockResponse().json("{\"cookies\": {" + json + "}}\n");
}

MockResponse user(const ReceivedRequest&, std::uint64_t id) {
  if (id == 0) return MockResponse(404).json("{\"problem\": \"nobody has the id 0\"}\n");
  return MockResponse().json("{\"id\": " + std::to_string(id) + ", \"login\": \"ada\", \"name\": \"Ada Lovelace\"}\n");
}

/// The object that was sent, with an id in front.
MockResponse created(const ReceivedRequest& request) {
  const std::string_view object = detail::trimmed(request.body);
  if (!object.starts_with('{')) return MockResponse(422).json("{\"problem\": \"the body is no JSON object\"}\n");
  const std::string_view members = detail::trimmed(object.substr(1));
  return MockResponse(201).json(R"({"id": 7)" + std::string(members.starts_with('}') ? "" : ", ") +
                                std::string(members));
}

}  // namespace

void installStandardRoutes(TestServer& server) {
  server.handle("/get", describe);
  server.handle("/headers", describeHeaders);
  server.handle("/post", post);
  server.handle("/echo", echo);
  server.handle("/gzip", gzipEncoded);
  server.handle("/cache/*", withNumber("/cache/", 1'000'000'000, cacheable));
  server.handle("/drop", drop);
  server.handle("/flaky/*", flaky());
  server.handle("/delay/*", delayed);
  server.handle("/status/*", withNumber("/status/", 999, status));
  server.handle("/bytes/*", withNumber("/bytes/", mostBytes, bytes));
  server.handle("/files/*", file);
  server.handle("/form", form);
  server.handle("/stream/*", withNumber("/stream/", mostChunks, stream));
  server.handle("/events/*", withNumber("/events/", mostChunks, events));
  server.handle("/redirect/*", withNumber("/redirect/", 1000, redirect));
  server.handle("/redirect-to", redirectTo);
  server.handle("/users", created);
  server.handle("/users/*", withNumber("/users/", std::uint64_t(1) << 40, user));
  server.handle("/orders", created);
  server.handle("/cookies", cookies);
  server.handle("/cookies/set", setCookies);
}

}  // namespace corvane::testkit
