#pragma once

#include <QObject>
#include <QString>

// Small text helpers: the base64 layers of the authorization code and month abbreviations.
class VorCommonTool : public QObject
{
    Q_OBJECT
public:
    using QObject::QObject;

    static QString toBase64(const QString &text);
    static QString fromBase64(const QString &code);
    static QString monthNumber(const QString &name);
};
