// The offline object-store back end: what it reads from its authorization code and the sample rows it
// serves until the store protocol exists.

#include "sdk/sdktarn.h"
#include "support/warningguard.h"

#include <QtTest>

class TestSdkTarn : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void readsTheCode()
    {
        // Noon keeps the local date stable whatever the time of day; the milliseconds exceed 32 bits.
        const QDateTime expiry(QDate::currentDate().addDays(30), QTime(12, 0));
        SdkTarn tarn;
        tarn.parseAuthCode(QStringLiteral(R"({"project":"p7","userInfo":{"prefixName":"/pre","expireTime":"%1"}})")
                               .arg(expiry.toMSecsSinceEpoch()));
        QCOMPARE(tarn.homePath(), QStringLiteral("/pre"));
        QCOMPARE(tarn.validDays(), 30);
    }

    void servesSampleRows()
    {
        SdkTarn tarn;
        const QList<FileEntry *> files = tarn.getFileInfo(QStringLiteral("/any"), QString());
        const QList<TaskInfo *> tasks = tarn.refreshTask(0, 0);
        QCOMPARE(files.at(1)->size, QStringLiteral("101KB"));
        QCOMPARE(tasks.at(0)->type, QStringLiteral("上传"));
        for (const TaskInfo *task : tasks)
            if (task->status == TaskFinished)
                QCOMPARE(task->progress, 100);
        qDeleteAll(files);
        qDeleteAll(tasks);
    }
};

QTEST_GUILESS_MAIN(TestSdkTarn)
#include "tst_sdktarn.moc"
