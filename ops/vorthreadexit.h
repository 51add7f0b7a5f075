#pragma once

#include <QThread>

// Logs out off the window's thread: deleting the back end may wait on the server.
class VorThreadExit : public QThread
{
    Q_OBJECT
public:
    using QThread::QThread;

protected:
    void run() override;
};
