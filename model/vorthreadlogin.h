#pragma once

#include <QString>
#include <QThread>

// Signs in off the window's thread: decoding, connecting and the first listing may take a while.
class VorThreadLogin : public QThread
{
    Q_OBJECT
public:
    explicit VorThreadLogin(const QString &code, QObject *parent = nullptr);

signals:
    // The login's result: empty on success, otherwise the message to show.
    void loginMessage(QString message);

protected:
    void run() override;

private:
    QString m_code;
};
