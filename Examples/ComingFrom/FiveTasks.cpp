// Five tasks that every HTTP client meets. FiveTasksCurl.cpp and FiveTasksQt.cpp do the same and print the same.
//
//   example_FiveTasks http://127.0.0.1:8080/

#include <Corvane/Corvane.hpp>
#include <Platform/Foundation/FileManager.hpp>
#include <cstdio>
#include <filesystem>

using namespace corvane;

struct User {
  std::int64_t id;
  std::string login;
};

struct NewUser {
  std::string login;
};

User getUser(const std::string& server) { return JSONGetRequest<User>(server + "users/7").send().get().body; }

User addUser(const std::string& server, const NewUser& user) {
  return JSONPostRequest<User>(server + "users", user).send().get().body;
}

void download(const std::string& server, const std::string& target) {
  const auto transfer = DownloadGetRequest(server + "bytes/300000").send();
  transfer.during(DispatchQueue::global(), [](HTTPProgress progress) {
    std::fprintf(stderr, "\r%3.0f %%", *progress.percentCompleted() * 100);
  });
  platform::FileManager::move(transfer.get().fileURL().fileSystemPath(), target);
}

struct GetSlowly : DataGetRequestable<GetSlowly>, HTTPRequestCancelable<GetSlowly> {
  URL url;
  double timeoutInterval = 60;
  HTTPHeaders sharedHeaders() const { return {}; }
};

void giveUp(const std::string& server) {
  const GetSlowly impatient{.url = server + "delay/5", .timeoutInterval = 0.2};
  if (impatient.send().result().error()->code() == CFNetworkErrors::timedOut().rawValue()) std::puts("timed out");

  const GetSlowly unwanted{.url = server + "delay/5"};
  const auto received = unwanted.send();
  unwanted.cancel();  // from any thread
  if (*received.result().error() == Error(HTTPResponseError::taskCancelled())) std::puts("cancelled");
}

std::size_t bytesOfTwenty(const std::string& server) {
  std::vector<DataGetRequest> requests;
  for (int size = 1; size <= 20; ++size) requests.emplace_back(server + "bytes/" + std::to_string(size));

  std::size_t bytes = 0;
  for (const DataResponse& response : send(requests, HTTPBatchMode::parallel(8)).get())
    if (const Data* body = response.result.body()) bytes += body->count();
  return bytes;
}

int main(int argc, char** argv) try {
  const std::string server = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";

  std::printf("%s\n", getUser(server).login.c_str());
  std::printf("%s\n", addUser(server, {.login = "grace"}).login.c_str());
  download(server, "file");
  std::printf("%ju bytes\n", std::filesystem::file_size("file"));
  giveUp(server);
  std::printf("%zu bytes\n", bytesOfTwenty(server));
} catch (const Error& error) {
  std::fprintf(stderr, "%s\n", error.message().c_str());
  return 1;
}
