#include "support/testsshd.h"

#include <QDateTime>
#include <QJsonDocument>

QJsonObject TestSshd::codeJson() const
{
    const qint64 expire = QDateTime::currentDateTime().addDays(7).toMSecsSinceEpoch();
    const QJsonObject userInfo { { "host", host() },
                                 { "port", QString::number(m_port) },
                                 { "username", userName() },
                                 { "password", QString::fromLatin1(password()) },
                                 { "expireTime", QString::number(expire) } };
    return QJsonObject { { "storage", "sftp" }, { "project", "ombrivane-test" }, { "userInfo", userInfo } };
}

QString TestSshd::authCode(const QJsonObject &json)
{
    const QByteArray inner = QJsonDocument(json).toJson(QJsonDocument::Compact).toBase64();
    return QString::fromLatin1(QByteArray("k3P#q9" + inner).toBase64());
}
