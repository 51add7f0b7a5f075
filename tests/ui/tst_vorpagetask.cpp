#include "uitestkit.h"

#include "app/vormain.h"
#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/pagewidget.h"
#include "ui/scheckboxheaderview.h"
#include "ui/vorlocation.h"
#include "ui/vorpagetask.h"
#include "ui/vortaskdirfile.h"
#include "ui/vortaskhandle.h"
#include "ui/vortaskstatus.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLayout>
#include <QListView>
#include <QProgressBar>
#include <QPushButton>
#include <QScrollBar>
#include <QTableWidget>
#include <QtTest>

namespace {

const QDateTime Created(QDate(2026, 4, 5), QTime(18, 7, 6));

// A task with the given status; ids start at 100 so that they never equal a row number.
TaskInfo *makeTask(int row, int status, int progress)
{
    auto *task = new TaskInfo;
    task->id = 100 + row;
    task->name = QStringLiteral("Name%1").arg(row + 1);
    task->isDir = row % 3 == 0;
    task->type = row % 2 ? QStringLiteral("下载") : QStringLiteral("上传");
    task->status = status;
    task->size = QStringLiteral("%1KB").arg(row + 100);
    task->created = Created;
    task->progress = progress;
    return task;
}

// The colour that covers most of the filled part of a drawn progress bar (its text and frame cover less).
QString mostCommonColor(const QImage &bar, int progress)
{
    QHash<QRgb, int> counts;
    const int filledWidth = bar.width() * progress / 100;
    for (int x = 2; x < filledWidth - 2; ++x) {
        for (int y = 2; y < bar.height() - 2; ++y)
            ++counts[bar.pixel(x, y)];
    }
    QRgb best = 0;
    int bestCount = -1;
    for (auto it = counts.cbegin(); it != counts.cend(); ++it) {
        if (it.value() > bestCount) {
            best = it.key();
            bestCount = it.value();
        }
    }
    return QColor(best).name();
}

QList<TaskInfo *> makeTasks(int count)
{
    QList<TaskInfo *> tasks;
    for (int row = 0; row < count; ++row)
        tasks << makeTask(row, row & 3, (row & 3) == TaskFinished ? 100 : 60);
    return tasks;
}

} // namespace

class TestVorPageTask : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void rowShowsItsTask_data();
    void rowShowsItsTask();
    void storePageIsFilled();
    void locationSwitch_data();
    void locationSwitch();
    void startAndContinueMakeTheSameCall_data();
    void startAndContinueMakeTheSameCall();
    void deleteOneTask_data();
    void deleteOneTask();
    void bulkDelete_data();
    void bulkDelete();
    void headerSelectsAndClearsAll();
    void headerOnAnEmptyTable();
    void filtersTakeEffectOnRefresh_data();
    void filtersTakeEffectOnRefresh();
    void columnSizing_data();
    void columnSizing();
    void redrawsKeepOneSetOfCells();
    void newListArrivingDuringAFill();

private:
    void show(const QList<TaskInfo *> &tasks);
    QTableWidget *table() const { return m_page->findChild<QTableWidget *>(QStringLiteral("tableWidget")); }
    // A row's cells exist once the row is in view, as for a user who scrolls to it.
    QWidget *cellInView(int row, int column) const;
    QCheckBox *rowCheckBox(int row) const;
    QVector<bool> checkedRows() const;
    VorTaskHandle *handleCell(int row) const { return qobject_cast<VorTaskHandle *>(cellInView(row, 7)); }
    QPushButton *handleButton(int row, const char *name) const;
    void clickHeaderAt(int column);
    int expectedNameWidth() const;

    RecordingBackend *m_backend = nullptr;
    VorPageTask *m_page = nullptr;
    UnansweredDialogCloser *m_closer = nullptr;
};

void TestVorPageTask::initTestCase()
{
    WarningGuard::install();
    UiTestKit::allowOffscreenPluginNotices();
    VorData::instance();
}

void TestVorPageTask::init()
{
    m_backend = UiTestKit::installRecorder();
    m_page = new VorPageTask;
    connect(VorData::instance(), &VorData::dataUpdateTaskInfo, m_page, &VorPageTask::dataUpdateTaskInfo);
    connect(VorData::instance(), &VorData::dataUpdateLocation, m_page, &VorPageTask::dataUpdateLocation);
    m_page->resize(1100, 500);
    m_page->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_page));
    m_closer = new UnansweredDialogCloser(this);
}

void TestVorPageTask::cleanup()
{
    QVERIFY2(m_closer->closed().isEmpty(), qPrintable(m_closer->closed().join(QLatin1String(", "))));
    delete m_closer;
    delete m_page;
    m_page = nullptr;
    VorData::instance()->updateTaskInfo(QList<TaskInfo *>());
    VorSdk::instance()->exit();
    VERIFY_NO_STRAY_WINDOWS();
    VERIFY_NO_QT_WARNINGS();
}

void TestVorPageTask::show(const QList<TaskInfo *> &tasks)
{
    VorData::instance()->updateTaskInfo(tasks);
    QCoreApplication::processEvents(); // the table lays its new cells out before the user can click them
}

QWidget *TestVorPageTask::cellInView(int row, int column) const
{
    table()->scrollTo(table()->model()->index(row, column));
    return table()->cellWidget(row, column);
}

QCheckBox *TestVorPageTask::rowCheckBox(int row) const
{
    QWidget *cell = cellInView(row, 0);
    return cell ? cell->findChild<QCheckBox *>() : nullptr;
}

QVector<bool> TestVorPageTask::checkedRows() const
{
    QVector<bool> checked;
    for (int row = 0; row < table()->rowCount(); ++row)
        checked << rowCheckBox(row)->isChecked();
    return checked;
}

QPushButton *TestVorPageTask::handleButton(int row, const char *name) const
{
    return handleCell(row)->findChild<QPushButton *>(QLatin1String(name));
}

void TestVorPageTask::clickHeaderAt(int column)
{
    QHeaderView *header = table()->horizontalHeader();
    const int x = header->sectionViewportPosition(column) + header->sectionSize(column) / 2;
    QTest::mouseClick(header->viewport(), Qt::LeftButton, Qt::NoModifier, QPoint(x, header->height() / 2));
}

int TestVorPageTask::expectedNameWidth() const
{
    QTableWidget *t = table();
    int used = 0;
    for (int column = 0; column < t->columnCount(); ++column) {
        if (column != 1)
            used += t->columnWidth(column);
    }
    if (t->verticalScrollBar()->isVisible())
        used += t->verticalScrollBar()->width();
    return qMax(t->width() - used - 2, UiTestKit::contentWidth(t, 1));
}

void TestVorPageTask::form()
{
    QCOMPARE(m_page->objectName(), QStringLiteral("VorPageTask"));
    auto *remove = m_page->findChild<QPushButton *>(QStringLiteral("pushButtonDelete"));
    QCOMPARE(remove->text(), QStringLiteral("删除"));
    QCOMPARE(remove->minimumSize(), QSize(160, 38));
    QCOMPARE(remove->maximumSize(), QSize(160, 38));
    auto *refresh = m_page->findChild<QPushButton *>(QStringLiteral("pushButtonRefresh"));
    QCOMPARE(refresh->minimumSize(), QSize(60, 38));
    QCOMPARE(refresh->maximumSize(), QSize(60, 38));
    QVERIFY(!refresh->icon().pixmap(30, 30).isNull());
    QVERIFY(!refresh->toolTip().isEmpty());

    const struct
    {
        const char *name;
        QStringList items;
    } combos[] = {
        { "comboBoxType", { QStringLiteral("请选择类型"), QStringLiteral("上传"), QStringLiteral("下载") } },
        { "comboBoxStatus",
          { QStringLiteral("请选择状态"), QStringLiteral("运行中"), QStringLiteral("已暂停"), QStringLiteral("已完成"),
            QStringLiteral("失败") } },
    };
    for (const auto &expected : combos) {
        auto *combo = m_page->findChild<QComboBox *>(QLatin1String(expected.name));
        QVERIFY2(combo, expected.name);
        QCOMPARE(combo->minimumSize(), QSize(180, 38));
        QCOMPARE(combo->maximumSize(), QSize(180, 38));
        QStringList items;
        for (int i = 0; i < combo->count(); ++i)
            items << combo->itemText(i);
        QCOMPARE(items, expected.items);
        QCOMPARE(combo->currentIndex(), 0);
        QCOMPARE(combo->view()->metaObject(), &QListView::staticMetaObject);
    }

    QTableWidget *t = table();
    QCOMPARE(t->columnCount(), 8);
    const QStringList headers = { QString(),
                                  QStringLiteral("对象名称"),
                                  QStringLiteral("类型"),
                                  QStringLiteral("状态"),
                                  QStringLiteral("大小"),
                                  QStringLiteral("任务进度"),
                                  QStringLiteral("创建时间"),
                                  QStringLiteral("操作") };
    for (int column = 0; column < headers.size(); ++column)
        QCOMPARE(t->horizontalHeaderItem(column)->text(), headers.at(column));
    QVERIFY(qobject_cast<SCheckBoxHeaderView *>(t->horizontalHeader()));
    QCOMPARE(t->editTriggers(), QAbstractItemView::NoEditTriggers);
    QCOMPARE(t->selectionMode(), QAbstractItemView::NoSelection);

    auto *pager = m_page->findChild<PageWidget *>(QStringLiteral("widgetPage"));
    QVERIFY(pager);
    QCOMPARE(pager->maxPage(), 100);
    QCOMPARE(pager->currentPage(), 1);
    QCOMPARE(pager->minimumHeight(), 30);
    QVERIFY(m_page->findChild<VorLocation *>(QStringLiteral("widgetLocation")));
}

void TestVorPageTask::rowShowsItsTask_data()
{
    QTest::addColumn<int>("status");
    QTest::addColumn<int>("progress");
    QTest::addColumn<QString>("statusText");
    QTest::addColumn<QString>("icon");
    QTest::addColumn<QString>("color");

    QTest::newRow("running") << 0 << 40 << "下载中"
                             << "widgetIconBlank"
                             << "#1890FF";
    QTest::newRow("finished") << 1 << 100 << "已完成"
                              << "widgetIconFinish"
                              << "#95F204";
    QTest::newRow("failed") << 2 << 70 << "失败"
                            << "widgetIconFail"
                            << "#D9001B";
    QTest::newRow("paused") << 3 << 55 << "暂停"
                            << "widgetIconBlank"
                            << "#1890FF";
    QTest::newRow("unknown") << 7 << 50 << "未知"
                             << "widgetIconBlank"
                             << "#8C8C8C";
}

void TestVorPageTask::rowShowsItsTask()
{
    QFETCH(int, status);
    QFETCH(int, progress);
    QFETCH(QString, statusText);
    QFETCH(QString, icon);
    QFETCH(QString, color);

    // Row 1 is an upload of a file; its status reads the same for either direction.
    show({ makeTask(0, 0, 10), makeTask(1, status, progress) });
    QTableWidget *t = table();
    QCOMPARE(t->rowCount(), 2);
    const int row = 1;

    QVERIFY(rowCheckBox(row) && !rowCheckBox(row)->isChecked());
    QCOMPARE(cellInView(row, 0)->layout()->itemAt(0)->alignment(), Qt::AlignCenter);

    auto *name = qobject_cast<VorTaskDirFile *>(cellInView(row, 1));
    QVERIFY(name);
    QCOMPARE(name->objectName(), QStringLiteral("VorTaskDirFile"));
    QCOMPARE(name->findChild<QLabel *>(QStringLiteral("label"))->text(), QStringLiteral("Name2"));
    QVERIFY(!name->findChild<QWidget *>(QStringLiteral("widgetDir"))->isVisibleTo(name));
    QVERIFY(name->findChild<QWidget *>(QStringLiteral("widgetFile"))->isVisibleTo(name));
    auto *folder = qobject_cast<VorTaskDirFile *>(cellInView(0, 1));
    QVERIFY(folder->findChild<QWidget *>(QStringLiteral("widgetDir"))->isVisibleTo(folder));
    QVERIFY(!folder->findChild<QWidget *>(QStringLiteral("widgetFile"))->isVisibleTo(folder));

    const QString texts[] = { QStringLiteral("下载"), statusText, QStringLiteral("101KB") };
    const int columns[] = { 2, 3, 4 };
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(t->item(row, columns[i])->text(), texts[i]);
        QCOMPARE(t->item(row, columns[i])->textAlignment(), int(Qt::AlignCenter));
    }
    QCOMPARE(t->item(row, 6)->text(), QStringLiteral("2026/04/05 18:07:06"));
    QCOMPARE(t->item(row, 6)->textAlignment(), int(Qt::AlignCenter));

    auto *cell = qobject_cast<VorTaskStatus *>(cellInView(row, 5));
    QVERIFY(cell);
    QCOMPARE(cell->objectName(), QStringLiteral("VorTaskStatus"));
    for (const char *widget : { "widgetIconBlank", "widgetIconFinish", "widgetIconFail" })
        QCOMPARE(cell->findChild<QWidget *>(QLatin1String(widget))->isVisibleTo(cell), icon == QLatin1String(widget));
    auto *bar = cell->findChild<QProgressBar *>(QStringLiteral("progressBar"));
    QCOMPARE(bar->value(), progress);
    QCOMPARE(bar->styleSheet(), QStringLiteral("QProgressBar::chunk{background-color:%1;}").arg(color));
    // The user sees the filled part of the bar in that colour.
    QTRY_VERIFY(bar->isVisible() && bar->width() > 50);
    QCOMPARE(mostCommonColor(bar->grab().toImage(), progress), QColor(color).name().toLower());

    VorTaskHandle *handle = handleCell(row);
    QVERIFY(handle);
    QCOMPARE(handle->objectName(), QStringLiteral("VorTaskHandle"));
    for (const char *button : { "pushButtonStart", "pushButtonPause", "pushButtonDelete", "pushButtonContinue" }) {
        QPushButton *b = handleButton(row, button);
        QVERIFY2(b && b->isVisibleTo(handle) && b->isEnabled(), button);
        QCOMPARE(b->minimumHeight(), 45);
        QCOMPARE(b->maximumHeight(), 45);
    }
    for (const char *button : { "pushButtonStart", "pushButtonPause", "pushButtonDelete" }) {
        QVERIFY2(!handleButton(row, button)->icon().pixmap(20, 20).isNull(), button);
        QVERIFY2(!handleButton(row, button)->toolTip().isEmpty(), button); // icon-only buttons say what they do
    }
    QCOMPARE(handleButton(row, "pushButtonContinue")->text(), QStringLiteral("继续"));
    QCOMPARE(handleButton(row, "pushButtonContinue")->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageTask::storePageIsFilled()
{
    show(makeTasks(6));
    auto *storePage = VorData::instance()->mainWindow()->findChild<VorPageTask *>();
    QVERIFY(storePage);
    QCOMPARE(storePage->findChild<QTableWidget *>(QStringLiteral("tableWidget"))->rowCount(), 6);
}

void TestVorPageTask::locationSwitch_data()
{
    QTest::addColumn<bool>("pub");
    QTest::addColumn<bool>("pri");
    QTest::newRow("object store") << true << false;
    QTest::newRow("sftp") << false << true;
    QTest::newRow("neither") << false << false;
}

void TestVorPageTask::locationSwitch()
{
    QFETCH(bool, pub);
    QFETCH(bool, pri);
    auto *location = m_page->findChild<VorLocation *>(QStringLiteral("widgetLocation"));
    VorData::instance()->updateSaveLocation(pub, pri);
    QCOMPARE(location->findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(location), pub);
    QCOMPARE(location->findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(location), pri);
    VorData::instance()->updateSaveLocation(false, false);
}

void TestVorPageTask::startAndContinueMakeTheSameCall_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("call");
    for (int status = 0; status <= 3; ++status) {
        QTest::addRow("start, status %d", status)
            << "pushButtonStart" << QStringLiteral("continueTask %1").arg(100 + status);
        QTest::addRow("continue, status %d", status)
            << "pushButtonContinue" << QStringLiteral("continueTask %1").arg(100 + status);
        QTest::addRow("pause, status %d", status)
            << "pushButtonPause" << QStringLiteral("pauseTask %1").arg(100 + status);
    }
}

void TestVorPageTask::startAndContinueMakeTheSameCall()
{
    QFETCH(QString, button);
    QFETCH(QString, call);
    show(makeTasks(4));
    const int row = call.right(1).toInt();
    QTest::mouseClick(handleButton(row, button.toLatin1().constData()), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { call });
}

void TestVorPageTask::deleteOneTask_data()
{
    QTest::addColumn<QString>("answer");
    QTest::addColumn<QStringList>("calls");
    QTest::newRow("confirmed") << "pushButtonYes" << QStringList { "deleteTask 102" };
    QTest::newRow("cancelled") << "pushButtonNo" << QStringList {};
    QTest::newRow("closed") << "pushButtonClose" << QStringList {};
}

void TestVorPageTask::deleteOneTask()
{
    QFETCH(QString, answer);
    QFETCH(QStringList, calls);
    show(makeTasks(4));
    ModalAnswerer answerer;
    answerer.answer(answer);
    QTest::mouseClick(handleButton(2, "pushButtonDelete"), Qt::LeftButton);

    QCOMPARE(answerer.pending(), 0);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().at(0).title, QStringLiteral("删除"));
    QCOMPARE(answerer.seen().at(0).text, QStringLiteral("确认删除任务Name3"));
    QVERIFY(answerer.seen().at(0).noButtonVisible);
    QCOMPARE(m_backend->calls, calls);
    QCOMPARE(table()->rowCount(), 4); // the row stays until the next refresh
}

void TestVorPageTask::bulkDelete_data()
{
    QTest::addColumn<QList<int>>("checked");
    QTest::addColumn<bool>("viaHeader");
    QTest::addColumn<QStringList>("calls");

    QTest::newRow("nothing checked") << QList<int> {} << false << QStringList {};
    QTest::newRow("two rows") << QList<int> { 1, 3 } << false << QStringList { "deleteTask 101", "deleteTask 103" };
    QTest::newRow("all through the header")
        << QList<int> {} << true
        << QStringList { "deleteTask 100", "deleteTask 101", "deleteTask 102", "deleteTask 103", "deleteTask 104" };
}

void TestVorPageTask::bulkDelete()
{
    QFETCH(QList<int>, checked);
    QFETCH(bool, viaHeader);
    QFETCH(QStringList, calls);

    show(makeTasks(5));
    for (int row : checked)
        QTest::mouseClick(rowCheckBox(row), Qt::LeftButton);
    if (viaHeader)
        clickHeaderAt(0);
    const QVector<bool> before = checkedRows();
    QWidget *firstName = table()->cellWidget(0, 1);

    ModalAnswerer answerer;
    if (calls.isEmpty())
        answerer.answer(QStringLiteral("pushButtonYes"));
    QTest::mouseClick(m_page->findChild<QPushButton *>(QStringLiteral("pushButtonDelete")), Qt::LeftButton);

    QCOMPARE(m_backend->calls, calls);
    QCOMPARE(answerer.pending(), 0);
    if (calls.isEmpty()) {
        QCOMPARE(answerer.seen().size(), 1);
        QCOMPARE(answerer.seen().at(0).title, QStringLiteral("错误"));
        QCOMPARE(answerer.seen().at(0).text, QStringLiteral("没有勾选需要删除的任务"));
        QVERIFY(!answerer.seen().at(0).noButtonVisible);
    } else {
        QVERIFY(answerer.seen().isEmpty()); // no confirmation for checked rows
    }
    // Nothing is redrawn: the same rows, still checked.
    QCOMPARE(table()->cellWidget(0, 1), firstName);
    QCOMPARE(checkedRows(), before);
}

void TestVorPageTask::headerSelectsAndClearsAll()
{
    show(makeTasks(7));
    clickHeaderAt(0);
    QCOMPARE(checkedRows(), QVector<bool>(7, true));
    clickHeaderAt(3);
    QCOMPARE(checkedRows(), QVector<bool>(7, true));
    clickHeaderAt(0);
    QCOMPARE(checkedRows(), QVector<bool>(7, false));
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorPageTask::headerOnAnEmptyTable()
{
    show({});
    QCOMPARE(table()->rowCount(), 0);
    QCOMPARE(table()->horizontalHeaderItem(1)->text(), QStringLiteral("对象名称"));
    auto *header = qobject_cast<SCheckBoxHeaderView *>(table()->horizontalHeader());
    clickHeaderAt(0);
    QVERIFY(header->isChecked());
    show(makeTasks(3)); // new rows start unchecked; the header keeps its state
    QVERIFY(header->isChecked());
    QCOMPARE(checkedRows(), QVector<bool>(3, false));
}

void TestVorPageTask::filtersTakeEffectOnRefresh_data()
{
    QTest::addColumn<int>("type");
    QTest::addColumn<int>("status");
    QTest::newRow("no filter") << 0 << 0;
    QTest::newRow("uploads") << 1 << 0;
    QTest::newRow("downloads, paused") << 2 << 2;
    QTest::newRow("failed") << 0 << 4;
}

void TestVorPageTask::filtersTakeEffectOnRefresh()
{
    QFETCH(int, type);
    QFETCH(int, status);

    show(makeTasks(3));
    QWidget *firstName = table()->cellWidget(0, 1);
    m_backend->taskCount = 9;
    m_page->findChild<QComboBox *>(QStringLiteral("comboBoxType"))->setCurrentIndex(type);
    m_page->findChild<QComboBox *>(QStringLiteral("comboBoxStatus"))->setCurrentIndex(status);
    QCoreApplication::processEvents();
    QVERIFY(m_backend->calls.isEmpty()); // choosing a filter alone asks for nothing
    QCOMPARE(table()->rowCount(), 3);
    QCOMPARE(table()->cellWidget(0, 1), firstName);

    QTest::mouseClick(m_page->findChild<QPushButton *>(QStringLiteral("pushButtonRefresh")), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("refreshTask %1 %2").arg(type).arg(status) });
    QCOMPARE(table()->rowCount(), 9);
}

void TestVorPageTask::columnSizing_data()
{
    QTest::addColumn<int>("rows");
    QTest::addColumn<bool>("scrolls");
    QTest::newRow("empty") << 0 << false;
    QTest::newRow("a few rows") << 3 << false;
    QTest::newRow("more rows than fit") << 40 << true;
}

void TestVorPageTask::columnSizing()
{
    QFETCH(int, rows);
    QFETCH(bool, scrolls);

    show(makeTasks(rows));
    QTableWidget *t = table();
    for (const QSize &size : { QSize(1100, 500), QSize(1600, 700), QSize(1250, 500) }) {
        const QByteArray where = QStringLiteral("%1x%2").arg(size.width()).arg(size.height()).toUtf8();
        m_page->resize(size);
        QTRY_COMPARE(t->verticalScrollBar()->isVisible(), scrolls);
        QCOMPARE(t->columnWidth(0), 72);
        QTRY_COMPARE(t->columnWidth(1), expectedNameWidth());
        QVERIFY2(t->columnWidth(1) >= UiTestKit::contentWidth(t, 1), where.constData());
        QTRY_COMPARE(UiTestKit::columnsWidth(t), t->viewport()->width());
        QTRY_VERIFY2(!t->horizontalScrollBar()->isVisible(), where.constData());
    }
}

void TestVorPageTask::redrawsKeepOneSetOfCells()
{
    const int rows = 150;
    show(makeTasks(rows));
    show(makeTasks(rows)); // the first fill is laid out before the scroll bar shows
    QTableWidget *t = table();
    UiTestKit::flushDeferredDeletes();
    const int widgetsPerList = m_page->findChildren<QWidget *>().size();
    // Only the rows in view have cells, each row a full set.
    const int inView = t->rowAt(t->viewport()->height() - 1) + 1;
    QVERIFY(inView > 1 && inView < rows);
    for (int redraw = 0; redraw < 20; ++redraw) {
        show(makeTasks(rows));
        UiTestKit::flushDeferredDeletes();
        QCOMPARE(t->rowCount(), rows);
        QCOMPARE(m_page->findChildren<QCheckBox *>().size(), inView);
        QCOMPARE(m_page->findChildren<VorTaskDirFile *>().size(), inView);
        QCOMPARE(m_page->findChildren<VorTaskStatus *>().size(), inView);
        QCOMPARE(m_page->findChildren<VorTaskHandle *>().size(), inView);
        QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 4 * inView);
        QCOMPARE(m_page->findChildren<QWidget *>().size(), widgetsPerList);
    }
    show(makeTasks(2));
    UiTestKit::flushDeferredDeletes();
    QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 8);
}

void TestVorPageTask::newListArrivingDuringAFill()
{
    // A long fill lets queued events through; a newer task list among them replaces the one being drawn
    // (whose records the store frees at that moment), and the table ends with the newer list.
    VorData *store = VorData::instance();
    auto *storePage = store->mainWindow()->findChild<VorPageTask *>();
    disconnect(store, &VorData::dataUpdateTaskInfo, storePage, &VorPageTask::dataUpdateTaskInfo); // only this page
    QMetaObject::invokeMethod(
        store,
        [store] {
            QList<TaskInfo *> newer;
            for (int row = 0; row < 5; ++row)
                newer << makeTask(500 + row, 3, 30);
            store->updateTaskInfo(newer);
        },
        Qt::QueuedConnection);
    show(makeTasks(400));

    QTableWidget *t = table();
    QCOMPARE(t->rowCount(), 5);
    QCOMPARE(qobject_cast<VorTaskDirFile *>(cellInView(0, 1))->findChild<QLabel *>(QStringLiteral("label"))->text(),
             QStringLiteral("Name501"));
    QCOMPARE(t->item(4, 3)->text(), QStringLiteral("暂停"));
    UiTestKit::flushDeferredDeletes();
    QCOMPARE(m_page->findChildren<QCheckBox *>().size(), 5);
    QCOMPARE(t->viewport()->findChildren<QWidget *>(QString(), Qt::FindDirectChildrenOnly).size(), 20);
    connect(store, &VorData::dataUpdateTaskInfo, storePage, &VorPageTask::dataUpdateTaskInfo);
}

QTEST_MAIN(TestVorPageTask)
#include "tst_vorpagetask.moc"
