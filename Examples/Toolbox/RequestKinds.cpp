#include <Corvane/Corvane.hpp>
#include <CorvaneTesting/MockNetwork.hpp>
#include <cstdio>

using namespace corvane;

struct Note {
  std::string text;
};

struct PeekNote : DataHeadRequestable<PeekNote> {
  URL url{"https://notes.example.com/notes/1"};
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct DeleteNote : DataDeleteRequestable<DeleteNote> {
  URL url{"https://notes.example.com/notes/2"};
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct AppendToNote : DataPatchRequestable<AppendToNote> {
  URL url{"https://notes.example.com/notes/3"};
  std::string body = " More.";
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct ReplaceNote : JSONPutRequestable<ReplaceNote, Note> {
  URL url{"https://notes.example.com/notes/4"};
  JSONReference body = Note{.text = "Hello"};
  HTTPHeaders sharedHeaders() const { return {}; }
};

struct LockNote : DataRequestable<LockNote> {
  URL url{"https://notes.example.com/notes/5"};
  HTTPMethod method = HTTPMethod("LOCK");  // any other method
  HTTPHeaders sharedHeaders() const { return {}; }
};

int main() {
  testkit::MockNetwork network;
  network.on("*").respond(testkit::NetworkResponse().json(R"({"text": "Hello"})"));

  PeekNote().send().get();
  DeleteNote().send().get();
  AppendToNote().send().get();
  LockNote().send().get();
  std::printf("%s\n", ReplaceNote().send().get().body.text.c_str());
  for (const auto& request : network.requests()) std::printf("%s\n", request.description().c_str());
}
