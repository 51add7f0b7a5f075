#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "sdk/sdktarn.h"
#include "support/logtail.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QPointer>
#include <QSignalSpy>
#include <QtTest>

namespace {

QString makeCode(const QByteArray &json)
{
    return QString::fromLatin1((QByteArray("Ab3dE6") + json.toBase64()).toBase64());
}

const QByteArray TarnJson = R"({"storage":"tarn","project":"p1","userInfo":{"accesskey":"ak","secretkey":"sk",)"
                            R"("endPoint":"http://127.0.0.1:9000","bucketName":"b","prefixName":"/home-prefix",)"
                            R"("expireTime":"4102444800000"}})";

// A port on loopback that nothing listens on: the connection is refused at once.
const QByteArray RefusedSftpJson = R"({"storage":"sftp","project":"p","userInfo":{"host":"127.0.0.1","port":"1",)"
                                   R"("username":"nobody","password":"none","expireTime":"4102444800000"}})";

QStringList quoted(const QStringList &items)
{
    QStringList result;
    for (const QString &item : items)
        result << QLatin1Char('"') + item + QLatin1Char('"');
    return result;
}

} // namespace

class TestVorSdk : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void forwardsOneOperation_data();
    void forwardsOneOperation();
    void uploadsEveryFileWithOneListLine();
    void downloadOfRowsPassesAddresses();
    void downloadOfOneRowPassesTheId();
    void emptyListsLogAndCallNothing_data();
    void emptyListsLogAndCallNothing();
    void deletesCheckedTasks();
    void enterDirJoinsAndCleans_data();
    void enterDirJoinsAndCleans();
    void listingUpdatesPathBeforeAsking();
    void refreshSaveListsCurrentPath();
    void refreshesFillTheStore();
    void exitTwiceIsHarmless();
    void withoutBackEndNothingHappens_data();
    void withoutBackEndNothingHappens();
    void sampleTasksAreTheSameWhateverTheFilter_data();
    void sampleTasksAreTheSameWhateverTheFilter();
    void sampleDownloadsIgnoreTheSearchText();
    void deleteFileLeavesTheListing();
    void loginFillsTheStore();
    void loginSelectsTheBackEndByStorage_data();
    void loginSelectsTheBackEndByStorage();
    void loginRefusesRepeatedNames_data();
    void loginRefusesRepeatedNames();
    void failedConnectKeepsEachBackEnd();
    void adoptMovesAndParents();

private:
    RecordingBackend *adoptRecorder();
    QPointer<RecordingBackend> m_recorder;
};

void TestVorSdk::initTestCase()
{
    WarningGuard::install();
    QVERIFY(VorData::instance()->loginDialog());
}

void TestVorSdk::init()
{
    VorSdk::instance()->exit();
    VorData::instance()->updateFilePath(QStringLiteral("/"));
}

void TestVorSdk::cleanup()
{
    VorSdk::instance()->exit();
    VERIFY_NO_QT_WARNINGS();
}

RecordingBackend *TestVorSdk::adoptRecorder()
{
    auto *recorder = new RecordingBackend;
    VorSdk::instance()->adoptBackend(recorder);
    m_recorder = recorder;
    return recorder;
}

void TestVorSdk::forwardsOneOperation_data()
{
    QTest::addColumn<QString>("operation");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("logged");

    QTest::newRow("createDir") << "createDir"
                               << "createDir /a/new"
                               << "\"/a/new\"";
    QTest::newRow("renameFile") << "renameFile"
                                << "rename /a/old /a/new"
                                << "\"/a/old\" to  \"/a/new\"";
    QTest::newRow("deleteFile") << "deleteFile"
                                << "deleteFile /a/gone"
                                << "\"/a/gone\"";
    QTest::newRow("uploadDir") << "uploadDir"
                               << "uploadDir /local/dir"
                               << "\"/local/dir\"";
    QTest::newRow("download") << "download"
                              << "download 17"
                              << "17";
    QTest::newRow("deleteTask") << "deleteTask"
                                << "deleteTask 5"
                                << "5";
    QTest::newRow("pauseTask") << "pauseTask"
                               << "pauseTask 6"
                               << "6";
    QTest::newRow("continueTask") << "continueTask"
                                  << "continueTask 7"
                                  << "7";
}

void TestVorSdk::forwardsOneOperation()
{
    QFETCH(QString, operation);
    QFETCH(QString, call);
    QFETCH(QString, logged);

    RecordingBackend *recorder = adoptRecorder();
    VorSdk *sdk = VorSdk::instance();
    const LogTail log;
    if (operation == QLatin1String("createDir"))
        sdk->createDir(QStringLiteral("/a/new"));
    else if (operation == QLatin1String("renameFile"))
        sdk->renameFile(QStringLiteral("/a/old"), QStringLiteral("/a/new"));
    else if (operation == QLatin1String("deleteFile"))
        sdk->deleteFile(QStringLiteral("/a/gone"));
    else if (operation == QLatin1String("uploadDir"))
        sdk->uploadDir(QStringLiteral("/local/dir"));
    else if (operation == QLatin1String("download"))
        sdk->download(17);
    else if (operation == QLatin1String("deleteTask"))
        sdk->deleteTask(5);
    else if (operation == QLatin1String("pauseTask"))
        sdk->pauseTask(6);
    else if (operation == QLatin1String("continueTask"))
        sdk->continueTask(7);
    else
        QFAIL("unknown operation");

    QCOMPARE(recorder->calls, QStringList { call });
    QCOMPARE(log.messagesOf(operation), QStringList { logged });
    QVERIFY(log.lines().last().startsWith(QLatin1String("[F]")));
    QVERIFY(log.lines().last().contains(QStringLiteral("[vorsdk %1:").arg(operation)));
}

void TestVorSdk::uploadsEveryFileWithOneListLine()
{
    RecordingBackend *recorder = adoptRecorder();
    const LogTail log;
    VorSdk::instance()->upload({ QStringLiteral("a"), QStringLiteral("b"), QStringLiteral("c") });

    QCOMPARE(recorder->calls, (QStringList { "upload a", "upload b", "upload c" }));
    QCOMPARE(log.messagesOf(QStringLiteral("upload")), QStringList { "(\"a\", \"b\", \"c\")" });
}

void TestVorSdk::downloadOfRowsPassesAddresses()
{
    RecordingBackend *recorder = adoptRecorder();
    FileEntry first;
    first.id = 3;
    FileEntry second;
    second.id = 4;
    const LogTail log;
    VorSdk::instance()->download(QList<FileEntry *> { &first, &second });

    const quintptr a = reinterpret_cast<quintptr>(&first);
    const quintptr b = reinterpret_cast<quintptr>(&second);
    // The row records go by address, truncated to the int the back end takes, never by their id.
    QCOMPARE(recorder->calls,
             (QStringList { QStringLiteral("download %1").arg(static_cast<int>(a)),
                            QStringLiteral("download %1").arg(static_cast<int>(b)) }));
    QCOMPARE(log.messagesOf(QStringLiteral("download")),
             (QStringList { QStringLiteral("(%1, %2)").arg(a).arg(b), QString::number(static_cast<int>(a)),
                            QString::number(static_cast<int>(b)) }));
}

void TestVorSdk::downloadOfOneRowPassesTheId()
{
    RecordingBackend *recorder = adoptRecorder();
    FileEntry row;
    row.id = 12;
    const LogTail log;
    VorSdk::instance()->download(row.id);

    QCOMPARE(recorder->calls, QStringList { "download 12" });
    QCOMPARE(log.messagesOf(QStringLiteral("download")), QStringList { "12" });
}

void TestVorSdk::emptyListsLogAndCallNothing_data()
{
    QTest::addColumn<QString>("operation");
    QTest::newRow("download") << "download";
    QTest::newRow("deleteTask") << "deleteTask";
    QTest::newRow("upload") << "upload";
}

void TestVorSdk::emptyListsLogAndCallNothing()
{
    QFETCH(QString, operation);
    RecordingBackend *recorder = adoptRecorder();
    const LogTail log;
    if (operation == QLatin1String("download"))
        VorSdk::instance()->download(QList<FileEntry *>());
    else if (operation == QLatin1String("deleteTask"))
        VorSdk::instance()->deleteTask(QList<int>());
    else
        VorSdk::instance()->upload(QStringList());

    QVERIFY(recorder->calls.isEmpty());
    QCOMPARE(log.messagesOf(operation), QStringList { "()" });
}

void TestVorSdk::deletesCheckedTasks()
{
    RecordingBackend *recorder = adoptRecorder();
    const LogTail log;
    VorSdk::instance()->deleteTask(QList<int> { 3, 7 });

    QCOMPARE(recorder->calls, (QStringList { "deleteTask 3", "deleteTask 7" }));
    QCOMPARE(log.messagesOf(QStringLiteral("deleteTask")), (QStringList { "(3, 7)", "3", "7" }));
}

void TestVorSdk::enterDirJoinsAndCleans_data()
{
    QTest::addColumn<QString>("current");
    QTest::addColumn<QString>("dir");
    QTest::addColumn<QString>("listed"); // empty: no listing at all

    QTest::newRow("up from the root") << "/"
                                      << ".."
                                      << "";
    QTest::newRow("up from home") << "/user-01"
                                  << ".."
                                  << "/";
    QTest::newRow("folder at the root") << "/"
                                        << "a"
                                        << "/a";
    QTest::newRow("folder below") << "/user-01"
                                  << "docs"
                                  << "/user-01/docs";
    QTest::newRow("up two levels") << "/a/b"
                                   << "../.."
                                   << "/";
    QTest::newRow("current folder") << "/a"
                                    << "."
                                    << "/a";
    QTest::newRow("trailing separator") << "/a"
                                        << "b/"
                                        << "/a/b";
    // Only the exact join "//.." is refused; cleaning keeps what cannot go above the root.
    QTest::newRow("up from the root twice") << "/"
                                            << "../.."
                                            << "/../..";
}

void TestVorSdk::enterDirJoinsAndCleans()
{
    QFETCH(QString, current);
    QFETCH(QString, dir);
    QFETCH(QString, listed);

    RecordingBackend *recorder = adoptRecorder();
    recorder->listing = [](const QString &) { return RecordingBackend::makeEntries({ "x", "y" }, { "x" }); };
    VorData::instance()->updateFilePath(current);
    VorData::instance()->updateSaveFileInfo(RecordingBackend::makeEntries({ "before" }));
    QSignalSpy pathSpy(VorData::instance(), &VorData::dataUpdatePath);
    const LogTail log;

    VorSdk::instance()->EnterDir(dir);

    QCOMPARE(log.messagesOf(QStringLiteral("EnterDir")), QStringList { quoted({ dir }) });
    if (listed.isEmpty()) {
        QVERIFY(recorder->calls.isEmpty());
        QCOMPARE(VorData::instance()->path(), current);
        QCOMPARE(pathSpy.count(), 0);
        QCOMPARE(VorData::instance()->fileInfos().size(), 1);
        QCOMPARE(VorData::instance()->fileInfos().first()->name, QStringLiteral("before"));
    } else {
        QCOMPARE(recorder->calls, QStringList { QStringLiteral("getFileInfo %1 ").arg(listed) });
        QCOMPARE(VorData::instance()->path(), listed);
        QCOMPARE(pathSpy.count(), 1);
        QCOMPARE(VorData::instance()->fileInfos().size(), 2);
        QCOMPARE(log.messagesOf(QStringLiteral("getFileInfo")), quoted({ listed }));
    }
}

void TestVorSdk::listingUpdatesPathBeforeAsking()
{
    RecordingBackend *recorder = adoptRecorder();
    QString pathWhenAsked;
    recorder->listing = [&pathWhenAsked](const QString &) {
        pathWhenAsked = VorData::instance()->path();
        return QList<FileEntry *>();
    };
    QSignalSpy listSpy(VorData::instance(), &VorData::dataUpdateSaveFileInfo);
    VorSdk::instance()->getFileInfo(QStringLiteral("/deep/folder"), QStringLiteral("pre"));

    QCOMPARE(pathWhenAsked, QStringLiteral("/deep/folder"));
    QCOMPARE(recorder->calls, QStringList { "getFileInfo /deep/folder pre" });
    QCOMPARE(listSpy.count(), 1);
    QVERIFY(VorData::instance()->fileInfos().isEmpty());
}

void TestVorSdk::refreshSaveListsCurrentPath()
{
    RecordingBackend *recorder = adoptRecorder();
    VorData::instance()->updateFilePath(QStringLiteral("/user-01/x"));
    const LogTail log;
    VorSdk::instance()->refreshSave(QStringLiteral("Na"));

    QCOMPARE(recorder->calls, QStringList { "getFileInfo /user-01/x Na" });
    QCOMPARE(log.messagesOf(QStringLiteral("refreshSave")), QStringList { "\"Na\"" });
    QCOMPARE(log.messagesOf(QStringLiteral("getFileInfo")), QStringList { "\"/user-01/x\"" });
}

void TestVorSdk::refreshesFillTheStore()
{
    RecordingBackend *recorder = adoptRecorder();
    recorder->taskCount = 5;
    recorder->downloadCount = 3;
    QSignalSpy taskSpy(VorData::instance(), &VorData::dataUpdateTaskInfo);
    QSignalSpy downSpy(VorData::instance(), &VorData::dataUpdateDownloadInfo);
    const LogTail log;

    VorSdk::instance()->refreshTask(2, 3);
    VorSdk::instance()->refreshDown(QStringLiteral("find"));

    QCOMPARE(recorder->calls, (QStringList { "refreshTask 2 3", "refreshDown find" }));
    QCOMPARE(VorData::instance()->tasks().size(), 5);
    QCOMPARE(VorData::instance()->downloads().size(), 3);
    QCOMPARE(taskSpy.count(), 1);
    QCOMPARE(downSpy.count(), 1);
    QCOMPARE(log.messagesOf(QStringLiteral("refreshTask")), QStringList { "2 3" });
    QCOMPARE(log.messagesOf(QStringLiteral("refreshDown")), QStringList { "\"find\"" });
}

void TestVorSdk::exitTwiceIsHarmless()
{
    adoptRecorder();
    QVERIFY(m_recorder);
    const LogTail log;

    VorSdk::instance()->exit();
    QVERIFY(!VorSdk::instance()->backend());
    QVERIFY(m_recorder.isNull());
    VorSdk::instance()->exit();
    QVERIFY(!VorSdk::instance()->backend());

    QCOMPARE(log.messagesOf(QStringLiteral("exit")), (QStringList { QString(), QString() }));
}

void TestVorSdk::withoutBackEndNothingHappens_data()
{
    QTest::addColumn<QString>("operation");
    for (const char *name :
         { "getFileInfo", "refreshSave", "EnterDir", "createDir", "renameFile", "deleteFile", "upload", "uploadDir",
           "download", "deleteTask", "pauseTask", "continueTask", "refreshTask", "refreshDown" })
        QTest::newRow(name) << QString::fromLatin1(name);
}

void TestVorSdk::withoutBackEndNothingHappens()
{
    QFETCH(QString, operation);
    VorSdk *sdk = VorSdk::instance();
    QVERIFY(!sdk->backend());
    VorData *data = VorData::instance();
    data->updateFilePath(QStringLiteral("/kept"));
    data->updateTaskInfo(QList<TaskInfo *> { new TaskInfo });
    QSignalSpy pathSpy(data, &VorData::dataUpdatePath);
    QSignalSpy listSpy(data, &VorData::dataUpdateSaveFileInfo);
    QSignalSpy taskSpy(data, &VorData::dataUpdateTaskInfo);
    QSignalSpy downSpy(data, &VorData::dataUpdateDownloadInfo);
    const LogTail log;

    if (operation == QLatin1String("getFileInfo"))
        sdk->getFileInfo(QStringLiteral("/other"), QString());
    else if (operation == QLatin1String("refreshSave"))
        sdk->refreshSave(QString());
    else if (operation == QLatin1String("EnterDir"))
        sdk->EnterDir(QStringLiteral("sub"));
    else if (operation == QLatin1String("createDir"))
        sdk->createDir(QStringLiteral("/kept/new"));
    else if (operation == QLatin1String("renameFile"))
        sdk->renameFile(QStringLiteral("/kept/a"), QStringLiteral("/kept/b"));
    else if (operation == QLatin1String("deleteFile"))
        sdk->deleteFile(QStringLiteral("/kept/a"));
    else if (operation == QLatin1String("upload"))
        sdk->upload({ QStringLiteral("f") });
    else if (operation == QLatin1String("uploadDir"))
        sdk->uploadDir(QStringLiteral("d"));
    else if (operation == QLatin1String("download"))
        sdk->download(1);
    else if (operation == QLatin1String("deleteTask"))
        sdk->deleteTask(1);
    else if (operation == QLatin1String("pauseTask"))
        sdk->pauseTask(1);
    else if (operation == QLatin1String("continueTask"))
        sdk->continueTask(1);
    else if (operation == QLatin1String("refreshTask"))
        sdk->refreshTask(0, 0);
    else if (operation == QLatin1String("refreshDown"))
        sdk->refreshDown(QString());
    else
        QFAIL("unknown operation");

    QCOMPARE(data->path(), QStringLiteral("/kept"));
    QCOMPARE(data->tasks().size(), 1);
    QCOMPARE(pathSpy.count() + listSpy.count() + taskSpy.count() + downSpy.count(), 0);
    QVERIFY(!log.messagesOf(operation).isEmpty());
    const QStringList refused = log.messagesOf(QStringLiteral("hasBackend"));
    QCOMPARE(refused.size(), 1);
    QVERIFY2(refused.first().startsWith(QLatin1String("no back end for")), qPrintable(refused.first()));
    QVERIFY(sdk->backendHasError());
    QVERIFY(sdk->backendLastError().isEmpty());
}

void TestVorSdk::sampleTasksAreTheSameWhateverTheFilter_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("status");
    QTest::newRow("0 0") << 0 << 0;
    QTest::newRow("1 3") << 1 << 3;
    QTest::newRow("2 1") << 2 << 1;
    QTest::newRow("-1 99") << -1 << 99;
}

void TestVorSdk::sampleTasksAreTheSameWhateverTheFilter()
{
    QFETCH(int, type);
    QFETCH(int, status);
    VorSdk::instance()->adoptBackend(new SdkTarn);
    VorSdk::instance()->refreshTask(type, status);

    const QList<TaskInfo *> &tasks = VorData::instance()->tasks();
    QCOMPARE(tasks.size(), 22);
    QList<int> finished;
    for (int i = 0; i < tasks.size(); ++i) {
        const TaskInfo *task = tasks.at(i);
        QCOMPARE(task->id, i);
        QCOMPARE(task->name, QStringLiteral("Name%1").arg(i + 1));
        QCOMPARE(task->status, i % 4);
        QVERIFY(task->progress >= 0 && task->progress <= 100);
        if (task->status == TaskFinished) {
            QCOMPARE(task->progress, 100);
            finished << task->id;
        }
    }
    QCOMPARE(finished, (QList<int> { 1, 5, 9, 13, 17, 21 }));

    const TaskInfo *first = tasks.first();
    QCOMPARE(first->name, QStringLiteral("Name1"));
    QVERIFY(first->isDir);
    QCOMPARE(first->type, QStringLiteral("上传"));
    QCOMPARE(first->status, 0);
    QCOMPARE(first->size, QStringLiteral("100KB"));
    const TaskInfo *last = tasks.last();
    QCOMPARE(last->id, 21);
    QCOMPARE(last->name, QStringLiteral("Name22"));
    QVERIFY(last->isDir);
    QCOMPARE(last->type, QStringLiteral("下载"));
    QCOMPARE(last->status, 1);
    QCOMPARE(last->progress, 100);
    QCOMPARE(last->size, QStringLiteral("121KB"));
}

void TestVorSdk::sampleDownloadsIgnoreTheSearchText()
{
    VorSdk::instance()->adoptBackend(new SdkTarn);
    QStringList withText;
    VorSdk::instance()->refreshDown(QStringLiteral("Name3"));
    for (const DownloadInfo *row : VorData::instance()->downloads())
        withText << QStringLiteral("%1 %2 %3 %4").arg(row->id).arg(row->name).arg(row->isDir).arg(row->size);
    QStringList withoutText;
    VorSdk::instance()->refreshDown(QString());
    for (const DownloadInfo *row : VorData::instance()->downloads())
        withoutText << QStringLiteral("%1 %2 %3 %4").arg(row->id).arg(row->name).arg(row->isDir).arg(row->size);

    QCOMPARE(withText.size(), 22);
    QCOMPARE(withText, withoutText);
    QCOMPARE(withText.first(), QStringLiteral("0 Name1 1 100KB"));
    QCOMPARE(withText.last(), QStringLiteral("21 Name22 1 121KB"));
}

void TestVorSdk::deleteFileLeavesTheListing()
{
    VorSdk::instance()->adoptBackend(new SdkTarn);
    VorSdk::instance()->getFileInfo(QStringLiteral("/"), QString());
    const QList<FileEntry *> before = VorData::instance()->fileInfos();
    QSignalSpy listSpy(VorData::instance(), &VorData::dataUpdateSaveFileInfo);
    const LogTail log;

    VorSdk::instance()->deleteFile(QStringLiteral("/Name2"));

    QCOMPARE(VorData::instance()->fileInfos(), before);
    QCOMPARE(listSpy.count(), 0);
    QCOMPARE(log.messagesOf(QStringLiteral("deleteFile")), QStringList { "\"/Name2\"" });
    QVERIFY(!VorSdk::instance()->backendHasError());
}

void TestVorSdk::loginFillsTheStore()
{
    VorData *data = VorData::instance();
    QSignalSpy userSpy(data, &VorData::dataUpdateUser);
    QSignalSpy locationSpy(data, &VorData::dataUpdateLocation);
    const QString code = makeCode(TarnJson);
    const LogTail log;

    QCOMPARE(VorSdk::instance()->login(code), QString());

    auto *tarn = qobject_cast<SdkTarn *>(VorSdk::instance()->backend());
    QVERIFY(tarn);
    QCOMPARE(tarn->parent(), VorSdk::instance());
    QCOMPARE(data->userName(), QStringLiteral("tarn"));
    const int days = QDate::currentDate().daysTo(QDateTime::fromMSecsSinceEpoch(4102444800000LL).date());
    QCOMPARE(data->validDays(), days);
    QVERIFY(data->showTips());
    QCOMPARE(userSpy.count(), 1);
    QCOMPARE(userSpy.first().at(1).toString(), data->getUserTips());
    QVERIFY(data->getUserTips().contains(QString::number(days)));
    QCOMPARE(locationSpy.count(), 1);
    QCOMPARE(locationSpy.first(), (QVariantList { true, false }));
    QVERIFY(data->isPublic());
    QVERIFY(!data->isPrivate());
    QCOMPARE(data->path(), QStringLiteral("/home-prefix"));
    QCOMPARE(data->fileInfos().size(), 22);
    QCOMPARE(data->tasks().size(), 22);
    QCOMPARE(data->downloads().size(), 22);

    QCOMPARE(log.messagesOf(QStringLiteral("login")).value(0), QStringLiteral("login \"%1\"").arg(code));
    const QStringList lines = log.lines();
    const int decoded
        = lines.indexOf(QRegularExpression(QStringLiteral("^\\[D\\].*\\[vorsdk login:\\d+\\]\\[jsonObject .*")));
    QVERIFY(decoded > 0);
    QVERIFY(lines.at(decoded).contains(QLatin1String("/home-prefix")));
    QCOMPARE(log.messagesOf(QStringLiteral("refreshTask")), QStringList { "0 0" });
    QCOMPARE(log.messagesOf(QStringLiteral("refreshDown")), QStringList { "\"\"" });
    QCOMPARE(log.messagesOf(QStringLiteral("getFileInfo")), QStringList { "\"/home-prefix\"" });
}

void TestVorSdk::loginSelectsTheBackEndByStorage_data()
{
    QTest::addColumn<QString>("storage");
    QTest::addColumn<bool>("accepted");
    QTest::newRow("tarn") << "\"tarn\"" << true;
    QTest::newRow("sftp") << "\"sftp\"" << true;
    QTest::newRow("SFTP") << "\"SFTP\"" << false;
    QTest::newRow("Tarn") << "\"Tarn\"" << false;
    QTest::newRow("padded") << "\" tarn\"" << false;
    QTest::newRow("number") << "1" << false;
    QTest::newRow("object") << "{\"kind\":\"tarn\"}" << false;
    QTest::newRow("null") << "null" << false;
}

void TestVorSdk::loginSelectsTheBackEndByStorage()
{
    QFETCH(QString, storage);
    QFETCH(bool, accepted);
    const QByteArray json = "{\"storage\":" + storage.toUtf8() + "}";
    const VorSdk::Storage kind = VorSdk::storageOf(QJsonDocument::fromJson(json).object());
    QCOMPARE(kind != VorSdk::Storage::Unknown, accepted);
    if (!accepted) {
        QVERIFY(!VorSdk::createBackend(kind));
        QCOMPARE(VorSdk::instance()->login(makeCode(json)),
                 QStringLiteral("授权码解析错误，请检查你的授权码是否正确！"));
        QVERIFY(!VorSdk::instance()->backend());
        return;
    }
    std::unique_ptr<SdkObject> backend(VorSdk::createBackend(kind));
    QVERIFY(backend);
    QCOMPARE(QString::fromLatin1(backend->metaObject()->className()),
             kind == VorSdk::Storage::Tarn ? QStringLiteral("SdkTarn") : QStringLiteral("SdkSftp"));
    QVERIFY(!backend->parent());
}

void TestVorSdk::loginRefusesRepeatedNames_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::addColumn<bool>("refused");
    // Found by the fuzz target: the parser leaked the first "userInfo" object.
    QTest::newRow("userInfo twice") << QByteArray("{\"storage\":\"tarn\",\"userInfo\":{\"accesskey\":\"k\"},"
                                                  "\"userInfo\":\"x\"}")
                                    << true;
    QTest::newRow("escaped repetition") << QByteArray("{\"storage\":\"tarn\",\"\\u0073torage\":\"tarn\"}") << true;
    QTest::newRow("repeated inside, malformed after")
        << QByteArray("{\"storage\":\"tarn\",\"userInfo\":{\"a\":[1],\"a\":2},") << true;
    QTest::newRow("same name in two objects")
        << QByteArray("{\"storage\":\"tarn\",\"userInfo\":{\"storage\":\"x\",\"p\":{\"storage\":1}}}") << false;
    QTest::newRow("name as a value") << QByteArray("{\"storage\":\"tarn\",\"project\":\"storage\"}") << false;
    QTest::newRow("names in strings") << QByteArray("{\"storage\":\"tarn\",\"p\":\"{\\\"p\\\":1}\"}") << false;
}

void TestVorSdk::loginRefusesRepeatedNames()
{
    QFETCH(QByteArray, json);
    QFETCH(bool, refused);
    QCOMPARE(SdkObject::parseCodeJson(QString::fromUtf8(json)).isEmpty(), refused);
    const QString message = VorSdk::instance()->login(makeCode(json));
    QCOMPARE(message.isEmpty(), !refused);
    if (refused)
        QCOMPARE(message, QStringLiteral("授权码解析错误，请检查你的授权码是否正确！"));
    VorSdk::instance()->exit();
}

void TestVorSdk::failedConnectKeepsEachBackEnd()
{
    VorData *data = VorData::instance();
    const QString code = makeCode(RefusedSftpJson);
    const QString prefix = QStringLiteral("登录服务器失败，请检查你的授权码是否有效！\n错误信息：");

    const QString firstMessage = VorSdk::instance()->login(code);
    QPointer<SdkObject> first = VorSdk::instance()->backend();
    QVERIFY(first);
    QCOMPARE(firstMessage, prefix + first->lastError);
    QCOMPARE(first->parent(), VorSdk::instance());
    QVERIFY(!data->isPublic());
    QVERIFY(data->isPrivate());

    const QString secondMessage = VorSdk::instance()->login(code);
    SdkObject *second = VorSdk::instance()->backend();
    QVERIFY(second);
    QVERIFY(second != first);
    QCOMPARE(secondMessage, prefix + second->lastError);
    // The earlier attempt's object stays with the facade.
    QVERIFY(first);
    QCOMPARE(first->parent(), VorSdk::instance());
    delete first.data();
}

void TestVorSdk::adoptMovesAndParents()
{
    QThread worker;
    auto *backend = new SdkTarn;
    backend->moveToThread(&worker);
    worker.start();
    QMetaObject::invokeMethod(
        backend, [backend] { VorSdk::instance()->adoptBackend(backend); }, Qt::BlockingQueuedConnection);
    worker.quit();
    QVERIFY(worker.wait());

    QCOMPARE(VorSdk::instance()->backend(), backend);
    QCOMPARE(backend->thread(), QThread::currentThread());
    QCOMPARE(backend->parent(), VorSdk::instance());
    QCOMPARE(VorSdk::instance()->thread(), QThread::currentThread());
}

QTEST_MAIN(TestVorSdk)
#include "tst_vorsdk.moc"
