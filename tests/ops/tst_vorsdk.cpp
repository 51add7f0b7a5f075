#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

#include <QtTest>

class TestVorSdk : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void init()
    {
        m_recorder = new RecordingBackend;
        VorSdk::instance()->adoptBackend(m_recorder);
    }
    void cleanup()
    {
        VorSdk::instance()->exit();
        VERIFY_NO_QT_WARNINGS();
    }

    void enterDir_data();
    void enterDir();
    void forwardsEveryItem();

private:
    RecordingBackend *m_recorder = nullptr;
};

void TestVorSdk::enterDir_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("dir");
    QTest::addColumn<QString>("listed"); // empty: nothing is listed
    QTest::newRow("nothing above the root") << "/"
                                            << ".."
                                            << "";
    QTest::newRow("up") << "/a/b"
                        << ".."
                        << "/a";
    QTest::newRow("cleaned") << "/a"
                             << "b/../c/"
                             << "/a/c";
}

void TestVorSdk::enterDir()
{
    QFETCH(QString, current);
    QFETCH(QString, dir);
    QFETCH(QString, listed);
    VorData *data = VorData::instance();
    data->updateFilePath(current);
    QString pathWhenListed;
    QObject receiver;
    connect(data, &VorData::dataUpdateSaveFileInfo, &receiver, [&] { pathWhenListed = data->path(); });
    VorSdk::instance()->EnterDir(dir);
    QCOMPARE(m_recorder->calls, listed.isEmpty() ? QStringList() : QStringList { "getFileInfo " + listed + " " });
    // The path bar shows the folder by the time the page hears of its rows.
    QCOMPARE(pathWhenListed, listed);
}

void TestVorSdk::forwardsEveryItem()
{
    FileEntry row;
    row.id = 3;
    VorSdk::instance()->upload({ QStringLiteral("a"), QStringLiteral("b") });
    // Checked rows go by their record's address, cut to the int the back end takes.
    VorSdk::instance()->download(QList<FileEntry *> { &row });
    const int address = static_cast<int>(reinterpret_cast<quintptr>(&row));
    QCOMPARE(m_recorder->calls, (QStringList { "upload a", "upload b", QStringLiteral("download %1").arg(address) }));
}

QTEST_MAIN(TestVorSdk)
#include "tst_vorsdk.moc"
