#include "sdk/sdksamples.h"
#include "sdk/sdktarn.h"
#include "support/warningguard.h"

#include <QLoggingCategory>
#include <QSignalSpy>
#include <QtTest>

namespace {

QString expireIn(int days)
{
    // Noon keeps the local date stable whatever the time of day the test runs.
    const QDateTime instant(QDate::currentDate().addDays(days), QTime(12, 0));
    return QString::number(instant.toMSecsSinceEpoch());
}

QStringList captured;
QtMessageHandler previousHandler = nullptr;

void captureHandler(QtMsgType type, const QMessageLogContext &context, const QString &message)
{
    if (qstrcmp(context.category, "sdk.tarn") == 0)
        captured << message;
    else if (previousHandler)
        previousHandler(type, context, message);
}

} // namespace

Q_DECLARE_METATYPE(ServerState)

class TestSdkTarn : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void startsEmpty();
    void parsesAuthCode_data();
    void parsesAuthCode();
    void keepsCredentialsWhenUserInfoIsNotAnObject();
    void connectsAtOnce();
    void operationsWithoutEffectLeaveTheErrorAlone_data();
    void operationsWithoutEffectLeaveTheErrorAlone();
    void listsTheSampleEntries_data();
    void listsTheSampleEntries();
    void everyFolderListsTheSameEntries();
    void sampleTasks_data();
    void sampleTasks();
    void finishedTasksShowFullProgress();
    void refreshDrawsNewProgress();
    void sampleDownloads_data();
    void sampleDownloads();
    void samplesAreFreshRecords();
    void serverStateChangesOnlyOnNewValue();
    void serverStateLineNeedsTheCategory();
};

void TestSdkTarn::initTestCase()
{
    WarningGuard::install();
}

void TestSdkTarn::cleanup()
{
    VERIFY_NO_QT_WARNINGS();
}

void TestSdkTarn::startsEmpty()
{
    SdkTarn tarn;
    QCOMPARE(tarn.userName(), QStringLiteral("tarn"));
    QVERIFY(tarn.homePath().isEmpty());
    QVERIFY(tarn.projectName().isEmpty());
    QVERIFY(tarn.accessKey().isEmpty());
    QVERIFY(tarn.secretKey().isEmpty());
    QVERIFY(tarn.endPoint().isEmpty());
    QVERIFY(tarn.bucketName().isEmpty());
    QCOMPARE(tarn.validDays(), 0);
    QCOMPARE(tarn.serverState(), ServerState(0));
    QVERIFY(!tarn.hasError);
    QVERIFY(tarn.lastError.isEmpty());
}

void TestSdkTarn::parsesAuthCode_data()
{
    QTest::addColumn<QString>("expireTime"); // inserted as it stands into the JSON
    QTest::addColumn<int>("days");

    QTest::newRow("thirty days") << QStringLiteral("\"%1\"").arg(expireIn(30)) << 30;
    QTest::newRow("last day") << QStringLiteral("\"%1\"").arg(expireIn(0)) << 0;
    QTest::newRow("expired") << QStringLiteral("\"%1\"").arg(expireIn(-3)) << -3;
    const int toEpoch = static_cast<int>(QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(0).date()));
    QTest::newRow("number reads as empty") << expireIn(30) << toEpoch;
    QTest::newRow("not digits") << QStringLiteral("\"soon\"") << toEpoch;
    QTest::newRow("missing") << QString() << toEpoch;
}

void TestSdkTarn::parsesAuthCode()
{
    QFETCH(QString, expireTime);
    QFETCH(int, days);
    QString json
        = QString::fromLatin1(R"({"storage":"tarn","project":"proj-7","userInfo":{"accesskey":"AK1","secretkey":"SK2",)"
                              R"("endPoint":"http://127.0.0.1:9000","bucketName":"bkt","prefixName":"/pre")");
    if (!expireTime.isNull())
        json += QStringLiteral(",\"expireTime\":") + expireTime;
    json += QStringLiteral("}}");

    SdkTarn tarn;
    tarn.parseAuthCode(json);

    QCOMPARE(tarn.projectName(), QStringLiteral("proj-7"));
    QCOMPARE(tarn.accessKey(), QStringLiteral("AK1"));
    QCOMPARE(tarn.secretKey(), QStringLiteral("SK2"));
    QCOMPARE(tarn.endPoint(), QStringLiteral("http://127.0.0.1:9000"));
    QCOMPARE(tarn.bucketName(), QStringLiteral("bkt"));
    QCOMPARE(tarn.prefixName(), QStringLiteral("/pre"));
    QCOMPARE(tarn.homePath(), QStringLiteral("/pre"));
    QCOMPARE(tarn.userName(), QStringLiteral("tarn"));
    QCOMPARE(tarn.validDays(), days);
}

void TestSdkTarn::keepsCredentialsWhenUserInfoIsNotAnObject()
{
    SdkTarn tarn;
    tarn.parseAuthCode(QString::fromLatin1(R"({"storage":"tarn","project":"first","userInfo":{"prefixName":"/kept",)"
                                           R"("expireTime":"%1"}})")
                           .arg(expireIn(5)));
    QCOMPARE(tarn.validDays(), 5);

    tarn.parseAuthCode(QString::fromLatin1(R"({"storage":"tarn","project":"second","userInfo":"AK SK"})"));
    QCOMPARE(tarn.projectName(), QStringLiteral("second"));
    QCOMPARE(tarn.prefixName(), QStringLiteral("/kept"));
    QCOMPARE(tarn.validDays(), 5);

    SdkTarn fresh;
    fresh.parseAuthCode(QString::fromLatin1(R"({"storage":"tarn","userInfo":["x"]})"));
    QCOMPARE(fresh.userName(), QStringLiteral("tarn"));
    QCOMPARE(fresh.validDays(), 0);
    QVERIFY(fresh.homePath().isEmpty());

    fresh.parseAuthCode(QStringLiteral("not json"));
    QVERIFY(fresh.projectName().isEmpty());
    QCOMPARE(fresh.validDays(), 0);
}

void TestSdkTarn::connectsAtOnce()
{
    SdkTarn tarn;
    QVERIFY(tarn.connectToServer());
    QVERIFY(!tarn.hasError);
    QVERIFY(tarn.lastError.isEmpty());
}

void TestSdkTarn::operationsWithoutEffectLeaveTheErrorAlone_data()
{
    QTest::addColumn<QString>("operation");
    for (const char *name : { "upload", "uploadDir", "download", "reservedOperation", "deleteTask", "deleteFile",
                              "continueTask", "pauseTask", "createDir", "rename", "loadSampleSettings" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestSdkTarn::operationsWithoutEffectLeaveTheErrorAlone()
{
    QFETCH(QString, operation);
    SdkTarn tarn;
    tarn.parseAuthCode(QString::fromLatin1(R"({"project":"p","userInfo":{"prefixName":"/x","accesskey":"a"}})"));
    tarn.hasError = true;
    tarn.lastError = QStringLiteral("earlier failure");

    const QString path = QStringLiteral("/x/y");
    if (operation == QLatin1String("upload"))
        tarn.upload(path);
    else if (operation == QLatin1String("uploadDir"))
        tarn.uploadDir(path);
    else if (operation == QLatin1String("download"))
        tarn.download(3);
    else if (operation == QLatin1String("reservedOperation"))
        tarn.reservedOperation(3);
    else if (operation == QLatin1String("deleteTask"))
        tarn.deleteTask(3);
    else if (operation == QLatin1String("deleteFile"))
        tarn.deleteFile(path);
    else if (operation == QLatin1String("continueTask"))
        tarn.continueTask(3);
    else if (operation == QLatin1String("pauseTask"))
        tarn.pauseTask(3);
    else if (operation == QLatin1String("createDir"))
        tarn.createDir(path);
    else if (operation == QLatin1String("rename"))
        tarn.rename(path, path + QLatin1Char('2'));
    else if (operation == QLatin1String("loadSampleSettings"))
        tarn.loadSampleSettings();
    else
        QFAIL("unknown operation");

    QVERIFY(tarn.hasError);
    QCOMPARE(tarn.lastError, QStringLiteral("earlier failure"));
    QCOMPARE(tarn.homePath(), QStringLiteral("/x"));
    QCOMPARE(tarn.accessKey(), QStringLiteral("a"));
    QCOMPARE(tarn.projectName(), QStringLiteral("p"));
}

void TestSdkTarn::listsTheSampleEntries_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isDir");
    QTest::addColumn<QString>("size");

    QTest::newRow("first") << 0 << "Name1" << true << "100KB";
    QTest::newRow("second") << 1 << "Name2" << false << "101KB";
    QTest::newRow("third") << 2 << "Name3" << false << "102KB";
    QTest::newRow("fourth") << 3 << "Name4" << true << "103KB";
    QTest::newRow("last") << 21 << "Name22" << true << "121KB";
}

void TestSdkTarn::listsTheSampleEntries()
{
    QFETCH(int, row);
    QFETCH(QString, name);
    QFETCH(bool, isDir);
    QFETCH(QString, size);

    SdkTarn tarn;
    const QDateTime before = QDateTime::currentDateTime();
    const QList<FileEntry *> entries = tarn.getFileInfo(QStringLiteral("/any"), QStringLiteral("filter"));
    const QDateTime after = QDateTime::currentDateTime();
    QCOMPARE(entries.size(), 22);

    const FileEntry *entry = entries.at(row);
    QCOMPARE(entry->id, row);
    QCOMPARE(entry->name, name);
    QCOMPARE(entry->isDir, isDir);
    QCOMPARE(entry->storageClass, QStringLiteral("标准存储"));
    QCOMPARE(entry->size, size);
    QCOMPARE(entry->link, name);
    QVERIFY(entry->modified >= before && entry->modified <= after);
    qDeleteAll(entries);
}

void TestSdkTarn::everyFolderListsTheSameEntries()
{
    SdkTarn tarn;
    QStringList seen;
    for (const QString &path : { QStringLiteral("/"), QStringLiteral("/Name1"), QStringLiteral("/x/y/z") }) {
        const QList<FileEntry *> entries = tarn.getFileInfo(path, QString());
        QStringList names;
        for (const FileEntry *entry : entries)
            names << entry->name;
        qDeleteAll(entries);
        if (seen.isEmpty())
            seen = names;
        QCOMPARE(names, seen);
    }
    QCOMPARE(seen.size(), 22);
    QCOMPARE(seen.first(), QStringLiteral("Name1"));
}

void TestSdkTarn::sampleTasks_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<QString>("name");
    QTest::addColumn<bool>("isDir");
    QTest::addColumn<QString>("type");
    QTest::addColumn<int>("status");
    QTest::addColumn<QString>("size");

    QTest::newRow("first") << 0 << "Name1" << true << "上传" << 0 << "100KB";
    QTest::newRow("second") << 1 << "Name2" << false << "下载" << 1 << "101KB";
    QTest::newRow("third") << 2 << "Name3" << false << "上传" << 2 << "102KB";
    QTest::newRow("fourth") << 3 << "Name4" << true << "下载" << 3 << "103KB";
    QTest::newRow("fifth") << 4 << "Name5" << false << "上传" << 0 << "104KB";
    QTest::newRow("last") << 21 << "Name22" << true << "下载" << 1 << "121KB";
}

void TestSdkTarn::sampleTasks()
{
    QFETCH(int, row);
    QFETCH(QString, name);
    QFETCH(bool, isDir);
    QFETCH(QString, type);
    QFETCH(int, status);
    QFETCH(QString, size);

    SdkTarn tarn;
    const QDateTime before = QDateTime::currentDateTime();
    const QList<TaskInfo *> tasks = tarn.refreshTask(2, 3);
    const QDateTime after = QDateTime::currentDateTime();
    QCOMPARE(tasks.size(), 22);
    const TaskInfo *task = tasks.at(row);
    QCOMPARE(task->id, row);
    QCOMPARE(task->name, name);
    QCOMPARE(task->isDir, isDir);
    QCOMPARE(task->type, type);
    QCOMPARE(task->status, status);
    QCOMPARE(task->size, size);
    QVERIFY(task->created >= before && task->created <= after);
    QVERIFY(task->progress >= 0 && task->progress <= 100);
    qDeleteAll(tasks);
}

void TestSdkTarn::finishedTasksShowFullProgress()
{
    QList<int> finished;
    for (int round = 0; round < 20; ++round) {
        const QList<TaskInfo *> tasks = SdkSamples::tasks();
        finished.clear();
        for (const TaskInfo *task : tasks) {
            if (task->status == TaskFinished) {
                QCOMPARE(task->progress, 100);
                finished << task->id;
            }
        }
        qDeleteAll(tasks);
    }
    QCOMPARE(finished, (QList<int> { 1, 5, 9, 13, 17, 21 }));
}

void TestSdkTarn::refreshDrawsNewProgress()
{
    SdkTarn tarn;
    const QList<TaskInfo *> first = tarn.refreshTask(0, 0);
    const QList<TaskInfo *> second = tarn.refreshTask(0, 0);
    int changed = 0;
    for (int i = 0; i < first.size(); ++i) {
        QCOMPARE(second.at(i)->name, first.at(i)->name);
        QCOMPARE(second.at(i)->status, first.at(i)->status);
        if (first.at(i)->status != TaskFinished && first.at(i)->progress != second.at(i)->progress)
            ++changed;
    }
    // Sixteen independent draws from 101 values: at least one differs unless the draws are not random.
    QVERIFY(changed > 0);
    qDeleteAll(first);
    qDeleteAll(second);
}

void TestSdkTarn::sampleDownloads_data()
{
    QTest::addColumn<QString>("search");
    QTest::newRow("empty") << QString();
    QTest::newRow("name") << QStringLiteral("Name7");
    QTest::newRow("nothing matches") << QStringLiteral("zzz");
}

void TestSdkTarn::sampleDownloads()
{
    QFETCH(QString, search);
    SdkTarn tarn;
    const QDateTime before = QDateTime::currentDateTime();
    const QList<DownloadInfo *> rows = tarn.refreshDown(search);
    const QDateTime after = QDateTime::currentDateTime();
    QCOMPARE(rows.size(), 22);
    for (int i = 0; i < rows.size(); ++i) {
        const DownloadInfo *row = rows.at(i);
        QCOMPARE(row->id, i);
        QCOMPARE(row->name, QStringLiteral("Name%1").arg(i + 1));
        QCOMPARE(row->isDir, i % 3 == 0);
        QCOMPARE(row->size, QStringLiteral("%1KB").arg(i + 100));
        QVERIFY(row->started >= before && row->started <= row->finished);
        QVERIFY(row->finished <= row->elapsed && row->elapsed <= after);
    }
    qDeleteAll(rows);
}

void TestSdkTarn::samplesAreFreshRecords()
{
    const QList<FileEntry *> a = SdkSamples::files();
    const QList<FileEntry *> b = SdkSamples::files();
    QCOMPARE(a.size(), SdkSamples::RowCount);
    for (int i = 0; i < a.size(); ++i)
        QVERIFY(a.at(i) != b.at(i));
    qDeleteAll(a);
    qDeleteAll(b);
}

void TestSdkTarn::serverStateChangesOnlyOnNewValue()
{
    qRegisterMetaType<ServerState>("ServerState");
    SdkTarn tarn;
    QSignalSpy spy(&tarn, &SdkObject::serverStateChanged);

    tarn.setServerState(ServerState(0));
    QCOMPARE(spy.count(), 0);
    tarn.setServerState(ServerState(2));
    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.first().first().value<ServerState>(), ServerState(2));
    QCOMPARE(tarn.serverState(), ServerState(2));
    tarn.setServerState(ServerState(2));
    QCOMPARE(spy.count(), 1);
}

void TestSdkTarn::serverStateLineNeedsTheCategory()
{
    QVERIFY(!sdkTarnLog().isDebugEnabled());
    QVERIFY(sdkTarnLog().isWarningEnabled());
    captured.clear();
    previousHandler = qInstallMessageHandler(captureHandler);

    SdkTarn tarn;
    tarn.setServerState(ServerState(1));
    QVERIFY(captured.isEmpty());

    QLoggingCategory::setFilterRules(QStringLiteral("sdk.tarn.debug=true"));
    tarn.setServerState(ServerState(1));
    QVERIFY(captured.isEmpty()); // the same value: nothing to say
    tarn.setServerState(ServerState(3));
    QLoggingCategory::setFilterRules(QString());
    qInstallMessageHandler(previousHandler);

    QCOMPARE(captured.size(), 1);
    QCOMPARE(captured.first().simplified(), QStringLiteral("Change server state 1 to 3"));
}

QTEST_MAIN(TestSdkTarn)
#include "tst_sdktarn.moc"
