#include "app/vormain.h"
#include "model/vordata.h"
#include "support/warningguard.h"
#include "ui/vorpagetask.h"

#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>
#include <cstdlib>
#include <new>

// Notes whether the one record a check watches is freed, to see which records the store frees.
namespace {
const void *watched = nullptr;
bool watchedFreed = false;
} // namespace

void *operator new(std::size_t size)
{
    if (void *memory = std::malloc(size ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void operator delete(void *memory) noexcept
{
    watchedFreed = watchedFreed || (memory && memory == watched);
    std::free(memory);
}

void operator delete(void *memory, std::size_t) noexcept
{
    operator delete(memory);
}

class TestVorData : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void init()
    {
        data->updateTaskInfo(QList<TaskInfo *>());
        watchedFreed = false;
    }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void replacedRowsAreFreed();
    void deletedTaskIsForgottenNotFreed();
    void emptyTaskListIsNotAnnounced();
    void expiryTip_data();
    void expiryTip();
    void taskPageShowsTheStorageKind();

private:
    VorData *data = VorData::instance();
};

void TestVorData::replacedRowsAreFreed()
{
    auto *task = new TaskInfo;
    data->updateTaskInfo(QList<TaskInfo *> { task });
    watched = task;
    data->updateTaskInfo(QList<TaskInfo *>());
    QVERIFY(watchedFreed);
}

void TestVorData::deletedTaskIsForgottenNotFreed()
{
    auto *held = new TaskInfo;
    held->id = 5;
    auto *other = new TaskInfo;
    data->updateTaskInfo({ held, other });
    watched = held;
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    data->deleteTaskInfo(5);
    QVERIFY(!watchedFreed);
    QCOMPARE(data->tasks(), QList<TaskInfo *> { other });
    QCOMPARE(spy.count(), 1);
    delete held;
}

void TestVorData::emptyTaskListIsNotAnnounced()
{
    QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
    data->addTaskInfo({});
    QCOMPARE(spy.count(), 0);
    data->addTaskInfo({ new TaskInfo });
    QCOMPARE(spy.count(), 1);
}

void TestVorData::expiryTip_data()
{
    QTest::addColumn<int>("days");
    QTest::addColumn<bool>("show");
    QTest::addColumn<QString>("tip");
    const QString text = QStringLiteral("您的授权码有效期还有 %1 天，到期后若需要继续使用请联系业务管理员");
    QTest::newRow("days left") << 12 << true << text.arg(12);
    QTest::newRow("last day") << 0 << true << text.arg(0);
    QTest::newRow("expired") << -3 << true << text.arg(-3);
    QTest::newRow("tips off") << 12 << false << QString();
}

void TestVorData::expiryTip()
{
    QFETCH(int, days);
    QFETCH(bool, show);
    QFETCH(QString, tip);
    QSignalSpy spy(data, &VorData::dataUpdateUser);
    data->updateUser(QStringLiteral("tarn"), days, show);
    QCOMPARE(spy.value(0), (QVariantList { QStringLiteral("tarn"), tip }));
}

void TestVorData::taskPageShowsTheStorageKind()
{
    QWidget *page = data->mainWindow()->pageTask();
    for (bool isPrivate : { true, false }) {
        data->updateSaveLocation(!isPrivate, isPrivate);
        QCOMPARE(page->findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(page), isPrivate);
        QCOMPARE(page->findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(page), !isPrivate);
    }
}

QTEST_MAIN(TestVorData)
#include "tst_vordata.moc"
