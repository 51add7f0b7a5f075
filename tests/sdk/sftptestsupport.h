#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <memory>

struct FileEntry;
class SdkSftp;
class TestSshd;

// Helpers shared by the SFTP tests.
namespace SftpTestSupport {

// Runs the facade's login on a worker thread while this thread keeps its event loop going, as it does
// behind the wait dialog; then delivers the store's queued signals. False when the worker did not end.
bool loginOnWorker(const QString &code, QString *message);
// Runs the facade's logout on its worker thread; false when the worker did not end.
bool logoutOnWorker();
// A back end that has read this JSON and tried to connect; connected tells how that went.
std::unique_ptr<SdkSftp> connectBackend(const QJsonObject &json, bool *connected, int sessionTimeoutMs = 0);
// The sockets this process holds open, by inode.
QSet<QByteArray> openSockets();
// The names of a listing, sorted.
QStringList sortedNames(const QList<FileEntry *> &entries);
// Frees the records of a listing that a test received.
void freeEntries(QList<FileEntry *> &entries);

} // namespace SftpTestSupport
