// Lives on Qt's event loop. What an object asked for is not delivered once the object is gone.
//
//   example_QtLoop URL

#include <CorvaneQt/Qt.hpp>
#include <cstdio>
#include <memory>

using namespace corvane;

class Window : public QObject {
 public:
  void load(const URL& url) {
    DataGetRequest(url).send(QtQueue(this), [this](const DataResponse& response) {
      show(response.result ? std::to_string(response.result.body()->count()) + " bytes"
                           : response.result.error()->message());
      QCoreApplication::quit();
    });
  }

 private:
  void show(const std::string& text) const { std::printf("window: %s\n", text.c_str()); }
};

int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  const URL url(argc > 1 ? argv[1] : "http://127.0.0.1:8080/bytes/100");

  Window window;
  window.load(url);
  auto closed = std::make_unique<Window>();
  closed->load(url);
  closed.reset();
  application.exec();

  const QtMainLoop mainLoop;
  DataGetRequest(url).send([](const DataResponse& response) {
    std::printf("main queue: status %d\n", static_cast<int>(response.status.rawValue()));
    QCoreApplication::quit();
  });
  return application.exec();
}
