// The five tasks of FiveTasks.cpp with Qt's network module.
//
//   example_FiveTasksQt http://127.0.0.1:8080/

#include <QCoreApplication>
#include <QEventLoop>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTimer>
#include <cstdio>
#include <functional>
#include <memory>
#include <stdexcept>

using Reply = std::unique_ptr<QNetworkReply>;

// Only to wait in a program without a user interface; there, one connects `finished` to what comes next.
void waitFor(QNetworkReply& reply) {
  QEventLoop loop;
  QObject::connect(&reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
  if (!reply.isFinished()) loop.exec();
}

QJsonObject objectOf(QNetworkReply& reply) {
  waitFor(reply);
  if (reply.error() != QNetworkReply::NoError) throw std::runtime_error(reply.errorString().toStdString());
  QJsonParseError problem;
  const QJsonDocument document = QJsonDocument::fromJson(reply.readAll(), &problem);
  if (problem.error != QJsonParseError::NoError) throw std::runtime_error(problem.errorString().toStdString());
  return document.object();
}

QString getUser(QNetworkAccessManager& manager, const QString& server) {
  const Reply reply(manager.get(QNetworkRequest(QUrl(server + "users/7"))));
  return objectOf(*reply)["login"].toString();  // empty when it is missing or no text
}

QString addUser(QNetworkAccessManager& manager, const QString& server, const QString& login) {
  QNetworkRequest request(QUrl(server + "users"));
  request.setHeader(QNetworkRequest::ContentTypeHeader, "application/json");
  const QJsonObject user{{"login", login}};
  const Reply reply(manager.post(request, QJsonDocument(user).toJson()));
  return objectOf(*reply)["login"].toString();
}

void download(QNetworkAccessManager& manager, const QString& server, const QString& target) {
  QFile file(target);
  if (!file.open(QIODevice::WriteOnly)) throw std::runtime_error(file.errorString().toStdString());
  const Reply reply(manager.get(QNetworkRequest(QUrl(server + "bytes/300000"))));
  QObject::connect(reply.get(), &QNetworkReply::readyRead, [&] { file.write(reply->readAll()); });
  QObject::connect(reply.get(), &QNetworkReply::downloadProgress, [](qint64 completed, qint64 total) {
    if (total > 0) std::fprintf(stderr, "\r%3lld %%", completed * 100 / total);
  });
  waitFor(*reply);
  if (reply->error() != QNetworkReply::NoError) throw std::runtime_error(reply->errorString().toStdString());
  file.write(reply->readAll());
}

void giveUp(QNetworkAccessManager& manager, const QString& server) {
  QNetworkRequest request(QUrl(server + "delay/5"));
  request.setTransferTimeout(200);
  const Reply impatient(manager.get(request));
  waitFor(*impatient);
  if (impatient->error() == QNetworkReply::OperationCanceledError) std::puts("timed out");  // or cancelled

  const Reply unwanted(manager.get(QNetworkRequest(QUrl(server + "delay/5"))));
  QTimer::singleShot(0, unwanted.get(), &QNetworkReply::abort);  // on the thread of the reply
  waitFor(*unwanted);
  if (unwanted->error() == QNetworkReply::OperationCanceledError) std::puts("cancelled");
}

qsizetype bytesOfTwenty(QNetworkAccessManager& manager, const QString& server) {
  std::vector<Reply> replies;  // six connections to a host at a time
  for (int size = 1; size <= 20; ++size)
    replies.emplace_back(manager.get(QNetworkRequest(QUrl(server + "bytes/" + QString::number(size)))));

  qsizetype bytes = 0;
  for (const Reply& reply : replies) {
    waitFor(*reply);
    if (reply->error() == QNetworkReply::NoError) bytes += reply->readAll().size();
  }
  return bytes;
}

int main(int argc, char** argv) try {
  const QCoreApplication application(argc, argv);
  const QString server = argc > 1 ? argv[1] : "http://127.0.0.1:8080/";
  QNetworkAccessManager manager;

  std::printf("%s\n", getUser(manager, server).toUtf8().constData());
  std::printf("%s\n", addUser(manager, server, "grace").toUtf8().constData());
  download(manager, server, "file");
  std::printf("%lld bytes\n", QFileInfo("file").size());
  giveUp(manager, server);
  std::printf("%lld bytes\n", static_cast<long long>(bytesOfTwenty(manager, server)));
} catch (const std::exception& error) {
  std::fprintf(stderr, "%s\n", error.what());
  return 1;
}
