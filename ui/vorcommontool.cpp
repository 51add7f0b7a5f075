#include "ui/vorcommontool.h"

#include <QByteArray>
#include <QStringList>

QString VorCommonTool::toBase64(const QString &text)
{
    return QString::fromLatin1(text.toUtf8().toBase64());
}

QString VorCommonTool::fromBase64(const QString &code)
{
    // Characters outside the alphabet are skipped, so pasted line breaks do no harm; the text ends at
    // the first zero byte.
    const QByteArray bytes = QByteArray::fromBase64(code.toLocal8Bit());
    const int end = bytes.indexOf('\0');
    return QString::fromLatin1(end < 0 ? bytes : bytes.left(end));
}

QString VorCommonTool::monthNumber(const QString &name)
{
    static const QStringList months { QString(),
                                      QStringLiteral("JAN"),
                                      QStringLiteral("FEB"),
                                      QStringLiteral("MAR"),
                                      QStringLiteral("APR"),
                                      QStringLiteral("MAY"),
                                      QStringLiteral("JUN"),
                                      QStringLiteral("JUL"),
                                      QStringLiteral("AUG"),
                                      QStringLiteral("SEP"),
                                      QStringLiteral("OCT"),
                                      QStringLiteral("NOV"),
                                      QStringLiteral("DEC") };
    return QString::number(qMax(0, months.indexOf(name)));
}
