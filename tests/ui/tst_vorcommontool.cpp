#include "ui/vorcommontool.h"

#include <QtTest>

class TestVorCommonTool : public QObject
{
    Q_OBJECT
private slots:
    void fromBase64_data();
    void fromBase64();
    void toBase64RoundTrip_data();
    void toBase64RoundTrip();
    void monthNumber_data();
    void monthNumber();
};

void TestVorCommonTool::fromBase64_data()
{
    QTest::addColumn<QString>("code");
    QTest::addColumn<QString>("text");
    QTest::newRow("plain") << "aGVsbG8="
                           << "hello";
    QTest::newRow("line breaks skipped") << "aGVs\nbG8="
                                         << "hello";
    QTest::newRow("blanks skipped") << "aGVs bG8="
                                    << "hello";
    QTest::newRow("stops at zero byte") << QString::fromLatin1(QByteArray("ab\0cd", 5).toBase64()) << "ab";
    QTest::newRow("bytes read as latin-1")
        << QString::fromLatin1(QByteArray("\xe6\x8e\x88").toBase64()) << QString::fromLatin1("\xe6\x8e\x88");
    QTest::newRow("empty") << ""
                           << "";
    QTest::newRow("not base64 at all") << "!!!!"
                                       << "";
}

void TestVorCommonTool::fromBase64()
{
    QFETCH(QString, code);
    QFETCH(QString, text);
    QCOMPARE(VorCommonTool::fromBase64(code), text);
}

void TestVorCommonTool::toBase64RoundTrip_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("code");
    QTest::newRow("ascii") << "hello"
                           << "aGVsbG8=";
    QTest::newRow("utf-8") << "授权"
                           << "5o6I5p2D";
}

void TestVorCommonTool::toBase64RoundTrip()
{
    QFETCH(QString, text);
    QFETCH(QString, code);
    QCOMPARE(VorCommonTool::toBase64(text), code);
    QCOMPARE(QString::fromUtf8(VorCommonTool::fromBase64(code).toLatin1()), text);
}

void TestVorCommonTool::monthNumber_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("number");
    QTest::newRow("january") << "JAN"
                             << "1";
    QTest::newRow("december") << "DEC"
                              << "12";
    QTest::newRow("lower case") << "jan"
                                << "0";
    QTest::newRow("empty") << ""
                           << "0";
    QTest::newRow("unknown") << "FOO"
                             << "0";
}

void TestVorCommonTool::monthNumber()
{
    QFETCH(QString, name);
    QFETCH(QString, number);
    QCOMPARE(VorCommonTool::monthNumber(name), number);
}

QTEST_GUILESS_MAIN(TestVorCommonTool)
#include "tst_vorcommontool.moc"
