#include "app/vormain.h"
#include "model/vordata.h"
#include "support/logtail.h"
#include "support/warningguard.h"
#include "ui/vorlocation.h"
#include "ui/vorpagesave.h"
#include "ui/vorpagetask.h"

#include <QPushButton>
#include <QSet>
#include <QSignalSpy>
#include <QtTest>
#include <cstdlib>
#include <new>

// Notes the addresses freed while a check is running, to see which records a list replacement frees.
namespace {
QSet<void *> *freedAddresses = nullptr;
}

void *operator new(std::size_t size)
{
    if (void *memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    if (freedAddresses && memory) {
        QSet<void *> *set = freedAddresses;
        freedAddresses = nullptr; // the set's own allocations are not of interest
        set->insert(memory);
        freedAddresses = set;
    }
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}

namespace {

QList<TaskInfo *> makeTasks(const QList<int> &ids)
{
    QList<TaskInfo *> tasks;
    for (int id : ids) {
        auto *task = new TaskInfo;
        task->id = id;
        task->name = QStringLiteral("task%1").arg(id);
        tasks << task;
    }
    return tasks;
}

QList<int> idsOf(const QList<TaskInfo *> &tasks)
{
    QList<int> ids;
    for (const TaskInfo *task : tasks)
        ids << task->id;
    return ids;
}

class FreedRecorder
{
public:
    FreedRecorder() { freedAddresses = &m_freed; }
    ~FreedRecorder() { freedAddresses = nullptr; }
    bool freed(const void *address) const { return m_freed.contains(const_cast<void *>(address)); }

private:
    QSet<void *> m_freed;
};

} // namespace

class TestVorData : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void init();
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void userTips_data();
    void userTips();
    void pathAndLocationAreAnnounced();
    void replacingListFreesOldRecords();
    void emptyListStillAnnounced();
    void singleTaskUpdate_data();
    void singleTaskUpdate();
    void deleteTaskRemovesFirstMatchOnly();
    void deleteUnknownTaskIsSilent();
    void addTaskInfo_data();
    void addTaskInfo();
    void removeFileInfoFreesQuietly();
    void nullRecordsAreNotStored();
};

void TestVorData::init()
{
    VorData::instance()->updateTaskInfo(QList<TaskInfo *>());
    VorData::instance()->updateSaveFileInfo(QList<FileEntry *>());
}

void TestVorData::userTips_data()
{
    QTest::addColumn<int>("days");
    QTest::addColumn<bool>("show");
    QTest::addColumn<QString>("tips");
    const QString text = QStringLiteral("您的授权码有效期还有 %1 天，到期后若需要继续使用请联系业务管理员");
    QTest::newRow("days left") << 12 << true << text.arg(12);
    QTest::newRow("last day") << 0 << true << text.arg(0);
    QTest::newRow("expired") << -3 << true << text.arg(-3);
    QTest::newRow("tips off") << 12 << false << QString();
}

void TestVorData::userTips()
{
    QFETCH(int, days);
    QFETCH(bool, show);
    QFETCH(QString, tips);
    VorData *data = VorData::instance();
    QSignalSpy spy(data, &VorData::dataUpdateUser);
    LogTail tail;
    data->updateUser(QStringLiteral("tarn"), days, show);

    QCOMPARE(spy.count(), 1);
    QCOMPARE(spy.at(0).at(0).toString(), QStringLiteral("tarn"));
    QCOMPARE(spy.at(0).at(1).toString(), tips);
    QCOMPARE(data->userName(), QStringLiteral("tarn"));
    QCOMPARE(data->validDays(), days);
    QCOMPARE(tail.messagesOf("updateUser"),
             QStringList { QStringLiteral("\"tarn\" %1 %2").arg(days).arg(show ? "true" : "false") });
}

void TestVorData::pathAndLocationAreAnnounced()
{
    VorData *data = VorData::instance();
    QSignalSpy path(data, &VorData::dataUpdatePath);
    QSignalSpy location(data, &VorData::dataUpdateLocation);
    data->updateFilePath(QStringLiteral("/user-01"));
    data->updateSaveLocation(false, true);
    QCOMPARE(data->path(), QStringLiteral("/user-01"));
    QCOMPARE(path.takeFirst().at(0).toString(), QStringLiteral("/user-01"));
    const QList<QVariant> flags = location.takeFirst();
    QCOMPARE(flags.at(0).toBool(), false);
    QCOMPARE(flags.at(1).toBool(), true);
    QVERIFY(!data->isPublic());
    QVERIFY(data->isPrivate());
    // Both pages that show the storage kind hear of it.
    const QList<QWidget *> pages { data->mainWindow()->pageSave(), data->mainWindow()->pageTask() };
    for (QWidget *page : pages) {
        auto *switcher = page->findChild<VorLocation *>(QStringLiteral("widgetLocation"));
        QVERIFY(switcher->findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(switcher));
        QVERIFY(!switcher->findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(switcher));
    }
}

void TestVorData::replacingListFreesOldRecords()
{
    VorData *data = VorData::instance();
    const QList<TaskInfo *> first = makeTasks({ 1, 2, 3 });
    data->updateTaskInfo(first);
    const QList<TaskInfo *> second = makeTasks({ 4 });
    FreedRecorder recorder;
    data->updateTaskInfo(second);
    for (const TaskInfo *task : first)
        QVERIFY(recorder.freed(task));
    QVERIFY(!recorder.freed(second.first()));
    QCOMPARE(data->tasks(), second);
}

void TestVorData::emptyListStillAnnounced()
{
    VorData *data = VorData::instance();
    data->updateDownloadInfo({ new DownloadInfo });
    QSignalSpy tasks(data, &VorData::dataUpdateTaskInfo);
    QSignalSpy downloads(data, &VorData::dataUpdateDownloadInfo);
    QSignalSpy files(data, &VorData::dataUpdateSaveFileInfo);
    data->updateTaskInfo(QList<TaskInfo *>());
    data->updateDownloadInfo(QList<DownloadInfo *>());
    data->updateSaveFileInfo(QList<FileEntry *>());
    QCOMPARE(tasks.count(), 1);
    QCOMPARE(downloads.count(), 1);
    QCOMPARE(files.count(), 1);
    QVERIFY(data->downloads().isEmpty());
}

void TestVorData::singleTaskUpdate_data()
{
    QTest::addColumn<int>("id");
    QTest::addColumn<QList<int>>("ids");
    QTest::addColumn<int>("index");
    QTest::newRow("present id keeps its place") << 2 << QList<int> { 1, 2, 3 } << 1;
    QTest::newRow("first of duplicates") << 3 << QList<int> { 3, 1, 3 } << 0;
    QTest::newRow("absent id changes nothing") << 9 << QList<int> { 1, 2, 3 } << -1;
}

void TestVorData::singleTaskUpdate()
{
    QFETCH(int, id);
    QFETCH(QList<int>, ids);
    QFETCH(int, index);
    VorData *data = VorData::instance();
    data->updateTaskInfo(makeTasks(ids));
    const QList<TaskInfo *> before = data->tasks();
    auto *replacement = new TaskInfo;
    replacement->id = id;
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    FreedRecorder recorder;
    data->updateTaskInfo(replacement);

    QCOMPARE(spy.count(), 0);
    QCOMPARE(idsOf(data->tasks()), ids);
    if (index < 0) {
        QCOMPARE(data->tasks(), before);
        delete replacement; // not taken by the store
    } else {
        QCOMPARE(data->tasks().at(index), replacement);
        QVERIFY(recorder.freed(before.at(index)));
    }
}

void TestVorData::deleteTaskRemovesFirstMatchOnly()
{
    VorData *data = VorData::instance();
    data->updateTaskInfo(makeTasks({ 5, 7, 5 }));
    TaskInfo *first = data->tasks().at(0);
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    FreedRecorder recorder;
    data->deleteTaskInfo(5);
    QCOMPARE(spy.count(), 1);
    QCOMPARE(idsOf(data->tasks()), (QList<int> { 7, 5 }));
    QVERIFY(!recorder.freed(first)); // forgotten, not freed
    delete first;
}

void TestVorData::deleteUnknownTaskIsSilent()
{
    VorData *data = VorData::instance();
    data->updateTaskInfo(makeTasks({ 1 }));
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    data->deleteTaskInfo(2);
    QCOMPARE(spy.count(), 0);
    QCOMPARE(idsOf(data->tasks()), QList<int> { 1 });
}

void TestVorData::addTaskInfo_data()
{
    QTest::addColumn<QList<int>>("stored");
    QTest::addColumn<QList<int>>("added");
    QTest::addColumn<int>("announcements");
    QTest::newRow("empty onto empty") << QList<int>() << QList<int>() << 0;
    QTest::newRow("empty onto rows") << QList<int> { 1 } << QList<int>() << 1;
    QTest::newRow("rows onto empty") << QList<int>() << QList<int> { 2, 3 } << 1;
}

void TestVorData::addTaskInfo()
{
    QFETCH(QList<int>, stored);
    QFETCH(QList<int>, added);
    QFETCH(int, announcements);
    VorData *data = VorData::instance();
    data->updateTaskInfo(makeTasks(stored));
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    data->addTaskInfo(makeTasks(added));
    QCOMPARE(spy.count(), announcements);
    QCOMPARE(idsOf(data->tasks()), stored + added);
}

void TestVorData::removeFileInfoFreesQuietly()
{
    VorData *data = VorData::instance();
    QList<FileEntry *> entries;
    for (int id : { 4, 6, 4 }) {
        entries << new FileEntry;
        entries.last()->id = id;
    }
    data->updateSaveFileInfo(entries);
    QSignalSpy spy(data, &VorData::dataUpdateSaveFileInfo);
    LogTail tail;
    FreedRecorder recorder;
    data->removeFileInfo(4);
    QCOMPARE(spy.count(), 0);
    QVERIFY(tail.lines().isEmpty());
    QVERIFY(recorder.freed(entries.at(0)));
    QCOMPARE(data->fileInfos(), (QList<FileEntry *> { entries.at(1), entries.at(2) }));
}

void TestVorData::nullRecordsAreNotStored()
{
    VorData *data = VorData::instance();
    auto *entry = new FileEntry;
    data->updateSaveFileInfo({ nullptr, entry, nullptr });
    QCOMPARE(data->fileInfos(), QList<FileEntry *> { entry });
    data->addTaskInfo({ nullptr });
    QVERIFY(data->tasks().isEmpty());
    FreedRecorder recorder;
    data->updateSaveFileInfo(QList<FileEntry *>());
    QVERIFY(recorder.freed(entry));
    QVERIFY(data->fileInfos().isEmpty());
}

QTEST_MAIN(TestVorData)
#include "tst_vordata.moc"
