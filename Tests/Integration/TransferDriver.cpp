// Does transfers at a test's word: reads one step a line from standard input, as JSON, and writes how it ended.

#include <filesystem>
#include <fstream>
#include <iostream>
#include <span>

#include "Corvane/Corvane.hpp"
#include "CorvaneTesting/Expectation.hpp"
#include "Platform/Foundation/FileManager.hpp"

namespace corvane::integration {

struct Section {
  std::string name;
  std::optional<Data> value;
  std::optional<std::string> file;
  std::optional<std::string> type;
  /// Produced while it is sent, so that its length is not known: "value" in pieces.
  std::optional<bool> isProduced;
};

struct Step {
  /// "download", "upload", "uploadFromMemory", "form", "formData", "formURLEncoded", "produce" and "produceKnown" (the
  /// file, with an unknown and with a known length), "produceCompressed"; "basic", "digest" and "bearer" (a GET with
  /// `user` and `secret`).
  std::string action;
  URL url;
  std::optional<std::string> file;
  std::optional<std::vector<Section>> sections;
  std::optional<std::string> user;
  /// The password, or the token.
  std::optional<std::string> secret;
};

/// Told once, when some bytes of the body have gone over the network.
struct UnderWay {
  bool isUnderWay = true;
};

struct Progress {
  std::int64_t calls = 0;
  std::int64_t completed = 0;
  std::int64_t total = 0;
  double fraction = 0;
  bool everWentBack = false;
};

struct Outcome {
  std::int64_t status = 0;
  std::string errorDomain;
  std::int64_t errorCode = 0;
  std::string errorMessage;
  std::string file;
  std::optional<Data> body;
  Progress progress;
  std::int64_t peakMemoryKiB = 0;
};

namespace {

// Far beyond what any step takes; a hang becomes a failure.
constexpr std::chrono::minutes patience{5};

template <class Message>
void tell(const Message& message) {
  std::cout << platform::JSONEncoder().encode(message).text() << std::endl;
}

std::int64_t peakMemoryKiB() {
  std::ifstream status("/proc/self/status");
  for (std::string word; status >> word;) {
    std::int64_t peak = 0;
    if (word == "VmHWM:" && status >> peak) return peak;
  }
  throw std::runtime_error("the system does not tell the peak of memory");
}

void noteSuccess(Outcome& outcome, const URL& file) { outcome.file = file.fileSystemPath(); }
void noteSuccess(Outcome& outcome, const Data& body) { outcome.body = body; }

template <class Response>
Outcome outcomeOf(const Response& response) {
  Outcome outcome{.status = static_cast<std::int64_t>(response.status.rawValue()), .body = response.data};
  if (const auto* error = response.result.error()) {
    outcome.errorDomain = error->domain();
    outcome.errorCode = error->code();
    outcome.errorMessage = error->message();
  } else if (const auto* body = response.result.body()) {
    noteSuccess(outcome, *body);
  }
  return outcome;
}

template <class Request>
Outcome transfer(const Request& request) {
  using Response = typename Request::Response;
  const DispatchQueue queue("Driver");
  Progress seen;
  testkit::Expectation<Response> ended;
  request.send(
      queue,
      [&](const HTTPProgress& progress) {
        const std::int64_t before = seen.completed;
        seen.completed = progress.completedBytes();
        seen.total = progress.totalBytes();
        seen.fraction = progress.percentCompleted().value_or(-1);
        seen.everWentBack = seen.everWentBack || seen.completed < before;
        ++seen.calls;
        if (before == 0 && seen.completed > 0) tell(UnderWay());
      },
      [=](Response response) { ended.fulfil(std::move(response)); });
  Outcome outcome = outcomeOf(ended.wait(patience));
  outcome.progress = seen;
  outcome.peakMemoryKiB = peakMemoryKiB();
  return outcome;
}

MultipartFormSection sectionOf(const Section& section) {
  std::optional<HTTPMediaType> type;
  if (section.type) type = HTTPMediaType(*section.type);
  if (section.file) return {section.name, URL::file(*section.file), type};
  return {section.name, section.value.value(), type};
}

/// The value, a few bytes at a time.
HTTPBodyProducer producerOf(Data value) {
  return HTTPBodyProducer([value = std::move(value), place = std::size_t{0}]() mutable -> std::optional<Data> {
    constexpr std::size_t pieceBytes = 7;
    if (place == value.count()) return std::nullopt;
    const std::size_t count = std::min(pieceBytes, value.count() - place);
    return value.subdata(std::exchange(place, place + count), count);
  });
}

HTTPBodyProducer producerOfFile(const std::string& path, bool isLengthKnown) {
  const auto file = std::make_shared<std::ifstream>(path, std::ios::binary);
  HTTPBodyProducerOptions options;
  if (isLengthKnown) options.length = std::filesystem::file_size(path);
  return HTTPBodyProducer(
      [file](std::span<std::byte> room) {
        file->read(reinterpret_cast<char*>(room.data()), static_cast<std::streamsize>(room.size()));
        return static_cast<std::size_t>(file->gcount());
      },
      std::move(options));
}

HTTPFormPart partOf(const Section& section) {
  HTTPFormPartOptions options;
  if (section.type) options.contentType = HTTPMediaType(*section.type);
  if (section.file) return {section.name, URL::file(*section.file), std::move(options)};
  if (!section.isProduced.value_or(false)) return {section.name, section.value.value(), std::move(options)};
  options.fileName = "produced";
  return {section.name, producerOf(section.value.value()), std::move(options)};
}

struct CompressedUpload : UploadRequestable<CompressedUpload, DataResponse, HTTPBodyProducer> {
  URL url;
  HTTPBodyProducer body;
  static constexpr auto contentEncoder = HTTPContentEncoderType::of<HTTPGzipContentEncoder>();
  HTTPHeaders sharedHeaders() const { return {}; }
};

Outcome runOfForm(const Step& step) {
  if (step.action == "formData") {
    HTTPFormData form;
    for (const auto& section : step.sections.value()) form.append(partOf(section));
    return transfer(FormDataUploadRequest(step.url, std::move(form)));
  }
  if (step.action == "formURLEncoded") {
    HTTPFormBody form;
    for (const auto& section : step.sections.value()) form.append(section.name, section.value.value().text());
    return transfer(DataUploadRequest(step.url, form.asData(), {.contentType = form.contentType()}));
  }
  if (step.action == "produceCompressed") {
    return transfer(CompressedUpload{.url = step.url, .body = producerOfFile(step.file.value(), false)});
  }
  const bool isLengthKnown = step.action == "produceKnown";
  if (step.action != "produce" && !isLengthKnown) throw std::runtime_error("there is no action " + step.action);
  return transfer(ProducedUploadRequest(step.url, producerOfFile(step.file.value(), isLengthKnown)));
}

constexpr const char* authenticated = "authenticated";

struct AuthenticatedGet : DataGetRequestable<AuthenticatedGet> {
  URL url;
  std::optional<std::string> sessionConfigurationIdentifier = authenticated;
  HTTPHeaders sharedHeaders() const { return {}; }
};

std::shared_ptr<HTTPInterceptor> authenticationOf(const Step& step) {
  std::vector<URL> origins{step.url};
  if (step.action == "basic")
    return std::make_shared<BasicAuthentication>(step.user.value(), step.secret.value(), std::move(origins));
  if (step.action == "digest")
    return std::make_shared<DigestAuthentication>(step.user.value(), step.secret.value(), std::move(origins));
  const auto refresh = [token = step.secret.value()](std::optional<std::string>) -> Task<std::string> {
    co_return token;
  };
  return std::make_shared<BearerAuthentication>(std::move(origins), refresh);
}

Outcome runWithCredentials(const Step& step) {
  HTTPClientConfiguration configuration;
  configuration.interceptors.push_back(authenticationOf(step));
  HTTPClientConfiguration::set(authenticated, configuration);
  testkit::Expectation<DataResponse> ended;
  AuthenticatedGet{.url = step.url}.send(DispatchQueue("Driver"), ended);
  return outcomeOf(ended.wait(patience));
}

Outcome run(const Step& step) {
  if (step.action == "basic" || step.action == "digest" || step.action == "bearer") return runWithCredentials(step);
  if (step.action == "download") return transfer(DownloadGetRequest(step.url));
  if (step.action == "upload") {
    return transfer(FileUploadRequest(step.url, URL::file(step.file.value()), {.method = HTTPMethod::put}));
  }
  if (step.action == "uploadFromMemory")
    return transfer(
        DataUploadRequest(step.url, platform::FileManager::contents(step.file.value()), {.method = HTTPMethod::put}));
  if (step.action == "form") {
    std::vector<MultipartFormSection> sections;
    for (const auto& section : step.sections.value()) sections.push_back(sectionOf(section));
    return transfer(MultipartUploadRequest(step.url, std::move(sections)));
  }
  return runOfForm(step);
}

}  // namespace
}  // namespace corvane::integration

int main(int argc, char** argv) try {
  using namespace corvane;
  for (int i = 1; i < argc; ++i) Corvane::addTrustedCertificate(URL::file(argv[i]));
  for (std::string line; std::getline(std::cin, line);) {
    integration::tell(integration::run(JSONDecoder().decode<integration::Step>(Data(line))));
  }
} catch (const corvane::Error& error) {
  std::cerr << "transfer_driver: " << error.message() << '\n';
  return 1;
} catch (const std::exception& error) {
  std::cerr << "transfer_driver: " << error.what() << '\n';
  return 1;
}
