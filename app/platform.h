#pragma once

#include <QByteArray>
#include <QString>
#include <QtGlobal>

#include <ctime>

// The few things POSIX systems and Windows do differently; everything else in the program is Qt. One
// implementation file per system.
namespace Platform {

// A connected socket as the system names it: a descriptor on POSIX, a SOCKET on Windows.
using Socket = qintptr;
constexpr Socket NoSocket = -1;

// A second handle of the same connection, not inherited by child processes (which would keep the
// connection alive); NoSocket when none can be made.
Socket duplicateSocket(Socket socket);
// Ends receiving only: later reads fail at once, writes still go.
void stopReceiving(Socket socket);
// Ends traffic in both directions while the handle stays valid.
void stopTraffic(Socket socket);
void closeSocket(Socket socket);

// A file name as appendToFile takes it, encoded once.
QByteArray nativePath(const QString &path);
// Appends data to the file, creating it readable and writable by the user alone; false when it cannot.
bool appendToFile(const QByteArray &nativePath, const char *data, qint64 size);

// Re-reads the time zone, so that a change of the system's zone shows in the next conversion.
void reloadTimeZone();
// The local calendar time of a moment, with the zone data already loaded.
bool localTime(std::time_t seconds, std::tm *local);
// The offset from UTC, in seconds, that applies to that local time.
int utcOffset(const std::tm &local, std::time_t seconds);

} // namespace Platform
