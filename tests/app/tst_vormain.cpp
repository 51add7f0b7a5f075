#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdksamples.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vordialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QScreen>
#include <QStackedWidget>
#include <QStyleOption>
#include <QtTest>

namespace {

// Each text of a visible label, button or line edit under root that needs more width than its widget
// leaves it once the style's borders and padding are taken off.
QStringList clippedTexts(QWidget *root)
{
    QStringList clipped;
    const auto check = [&clipped](QWidget *widget, const QString &text, int extra, int room) {
        const int needed = widget->fontMetrics().horizontalAdvance(text) + extra;
        if (!text.isEmpty() && needed > room)
            clipped << QStringLiteral("%1 \"%2\" needs %3 px, has %4")
                           .arg(widget->objectName(), text)
                           .arg(needed)
                           .arg(room);
    };
    for (QWidget *widget : root->findChildren<QWidget *>()) {
        if (!widget->isVisible())
            continue;
        if (auto *label = qobject_cast<QLabel *>(widget); label && !label->wordWrap()) {
            check(label, label->text(), 2 * label->margin(), label->contentsRect().width());
        } else if (auto *button = qobject_cast<QPushButton *>(widget)) {
            QStyleOptionButton option;
            option.initFrom(button);
            option.text = button->text();
            option.icon = button->icon();
            option.iconSize = button->iconSize();
            const QRect room = button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button);
            check(button, button->text(), button->icon().isNull() ? 0 : button->iconSize().width() + 4, room.width());
        } else if (auto *edit = qobject_cast<QLineEdit *>(widget)) {
            QStyleOptionFrame option;
            option.initFrom(edit);
            option.lineWidth
                = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit) : 0;
            const QRect room = edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit);
            const QMargins margins = edit->textMargins();
            const int lineEditMargins = 2 * 2; // the line edit's own inner margin on either side
            check(edit, edit->text().isEmpty() ? edit->placeholderText() : edit->text(), 0,
                  room.width() - margins.left() - margins.right() - lineEditMargins);
        }
    }
    return clipped;
}

// Centred on its screen along each side that fits on it, else starting at the screen's edge.
bool isPlacedOnItsScreen(QWidget *window)
{
    const QRect available = window->screen()->availableGeometry();
    const QRect frame = window->frameGeometry();
    const auto placed = [](int start, int length, int screenStart, int screenLength) {
        if (length > screenLength)
            return start == screenStart;
        return qAbs(2 * (start - screenStart) + length - screenLength) <= 2;
    };
    return placed(frame.x(), frame.width(), available.x(), available.width())
        && placed(frame.y(), frame.height(), available.y(), available.height());
}

} // namespace

class TestVorMain : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup();

    void formTexts_data();
    void formTexts();
    void navigation_data();
    void navigation();
    void maximiseTwiceRestores();
    void userAndTipFromStore();
    void logoutDeclinedKeepsSession();
    void logoutDeletesBackEndAndReturnsToLogin();
    void signInBringsTheWindowBack_data();
    void signInBringsTheWindowBack();
    void textsFit_data();
    void textsFit();

private:
    VorMain *window() const { return VorData::instance()->mainWindow(); }
    template<typename T> T *child(const char *name) const { return window()->findChild<T *>(QLatin1String(name)); }
};

void TestVorMain::initTestCase()
{
    WarningGuard::install();
    qApp->setStyleSheet(QStringLiteral("file:///:/qss/ombrivane.css"));
    window()->show();
    QVERIFY(QTest::qWaitForWindowExposed(window()));
}

void TestVorMain::cleanup()
{
    VERIFY_NO_QT_WARNINGS();
}

void TestVorMain::formTexts_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::newRow("product") << "labelTitleText"
                             << "Veltra-客户端工具";
    QTest::newRow("product name") << "labelTitleName"
                                  << "Quenvar-Clent Tools";
    QTest::newRow("logout") << "pushButtonExit"
                            << "退出登录";
    QTest::newRow("maximise") << "pushButtonMax"
                              << "口";
    QTest::newRow("minimise") << "pushButtonMin"
                              << "一";
    QTest::newRow("close") << "pushButtonClose"
                           << "X";
    QTest::newRow("storage") << "pushButtonSave"
                             << "存储管理";
    QTest::newRow("tasks") << "pushButtonTask"
                           << "任务管理";
    QTest::newRow("downloads") << "pushButtonDownload"
                               << "下载明细";
}

void TestVorMain::formTexts()
{
    QFETCH(QString, name);
    QFETCH(QString, text);
    QObject *object = window()->findChild<QObject *>(name);
    QVERIFY2(object, qPrintable(name));
    QCOMPARE(object->property("text").toString(), text);
    QCOMPARE(int(window()->windowFlags()), 0x6801);
}

void TestVorMain::navigation_data()
{
    QTest::addColumn<QString>("button");
    QTest::addColumn<QString>("page");
    QTest::newRow("tasks") << "pushButtonTask"
                           << "pageTask";
    QTest::newRow("downloads") << "pushButtonDownload"
                               << "pageDownload";
    QTest::newRow("storage") << "pushButtonSave"
                             << "pageSave";
    QTest::newRow("same button twice stays checked") << "pushButtonSave"
                                                     << "pageSave";
}

void TestVorMain::navigation()
{
    QFETCH(QString, button);
    QFETCH(QString, page);
    QTest::mouseClick(window()->findChild<QPushButton *>(button), Qt::LeftButton);
    QCOMPARE(child<QStackedWidget>("stackedWidget")->currentWidget()->objectName(), page);
    for (const char *name : { "pushButtonSave", "pushButtonTask", "pushButtonDownload" })
        QCOMPARE(child<QPushButton>(name)->isChecked(), button == QLatin1String(name));
}

void TestVorMain::maximiseTwiceRestores()
{
    auto *maximise = child<QPushButton>("pushButtonMax");
    QTest::mouseClick(maximise, Qt::LeftButton);
    QTRY_VERIFY(window()->isMaximized());
    QTest::mouseClick(maximise, Qt::LeftButton);
    QTRY_VERIFY(!window()->isMaximized());
    QVERIFY(!maximise->isChecked());
}

void TestVorMain::userAndTipFromStore()
{
    VorData::instance()->updateUser(QStringLiteral("alice"), 5, true);
    QCOMPARE(child<QPushButton>("pushButtonUser")->text(), QStringLiteral("alice"));
    QCOMPARE(child<QLabel>("labelTips")->text(),
             QStringLiteral("您的授权码有效期还有 5 天，到期后若需要继续使用请联系业务管理员"));
}

void TestVorMain::logoutDeclinedKeepsSession()
{
    auto *backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonNo"));
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);
    QCOMPARE(answerer.seen().size(), 1);
    QCOMPARE(answerer.seen().first().title, QStringLiteral("退出"));
    QCOMPARE(answerer.seen().first().text, QStringLiteral("确认退出？"));
    QCOMPARE(VorSdk::instance()->backend(), backend);
    QVERIFY(window()->isVisible());
    VorSdk::instance()->exit();
}

void TestVorMain::logoutDeletesBackEndAndReturnsToLogin()
{
    QPointer<RecordingBackend> backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    QTest::mouseClick(child<QPushButton>("pushButtonTask"), Qt::LeftButton);

    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonYes"));
    answerer.answer(QString()); // the wait dialog closes when the worker is done
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);

    QCOMPARE(answerer.seen().size(), 2);
    QCOMPARE(answerer.seen().at(1).title, QStringLiteral("退出中"));
    QCOMPARE(answerer.seen().at(1).text, QStringLiteral("请稍等..."));
    QVERIFY(backend.isNull());
    QVERIFY(!VorSdk::instance()->backend());
    QVERIFY(!window()->isVisible());
    QVERIFY(VorData::instance()->loginDialog()->isVisible());
    // Signing in again finds the window as it was left.
    VorData::instance()->loginDialog()->hide();
    window()->show();
    QCOMPARE(child<QStackedWidget>("stackedWidget")->currentWidget()->objectName(), QStringLiteral("pageTask"));
    QVERIFY(child<QPushButton>("pushButtonTask")->isChecked());
}

void TestVorMain::signInBringsTheWindowBack_data()
{
    QTest::addColumn<bool>("maximised");
    QTest::addColumn<bool>("minimised");
    QTest::newRow("normal") << false << false;
    QTest::newRow("minimised") << false << true;
    QTest::newRow("maximised") << true << false;
    QTest::newRow("maximised, then minimised") << true << true;
}

void TestVorMain::signInBringsTheWindowBack()
{
    QFETCH(bool, maximised);
    QFETCH(bool, minimised);
    if (maximised)
        QTest::mouseClick(child<QPushButton>("pushButtonMax"), Qt::LeftButton);
    if (minimised)
        QTest::mouseClick(child<QPushButton>("pushButtonMin"), Qt::LeftButton);

    VorSdk::instance()->adoptBackend(new RecordingBackend);
    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonYes"));
    answerer.answer(QString());
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);
    VorLogin *login = VorData::instance()->loginDialog();
    QVERIFY(login->isVisible());
    QVERIFY(isPlacedOnItsScreen(login));
    QTRY_VERIFY(login->isActiveWindow());

    login->loginMessage(QString()); // what a successful sign-in reports
    QVERIFY(!login->isVisible());
    QVERIFY(window()->isVisible());
    QVERIFY(!window()->isMinimized());
    QCOMPARE(window()->isMaximized(), maximised);
    QVERIFY(maximised || isPlacedOnItsScreen(window()));
    QTRY_VERIFY(window()->isActiveWindow());
    if (maximised)
        QTest::mouseClick(child<QPushButton>("pushButtonMax"), Qt::LeftButton);
}

void TestVorMain::textsFit_data()
{
    QTest::addColumn<QString>("shown");
    for (const char *shown :
         { "login", "pushButtonSave", "pushButtonTask", "pushButtonDownload", "choice", "message", "rename", "wait" })
        QTest::newRow(shown) << QString::fromLatin1(shown);
}

void TestVorMain::textsFit()
{
    QFETCH(QString, shown);
    // The lists arrive while the storage page is in front, as at sign-in; the others are opened later.
    QTest::mouseClick(child<QPushButton>("pushButtonSave"), Qt::LeftButton);
    VorData *store = VorData::instance();
    store->updateUser(QStringLiteral("tarn"), 30, true);
    store->updateSaveFileInfo(SdkSamples::files());
    store->updateTaskInfo(SdkSamples::tasks());
    store->updateDownloadInfo(SdkSamples::downloads());

    QWidget *root = window();
    std::unique_ptr<VorDialog> dialog;
    if (shown == QLatin1String("login")) {
        root = store->loginDialog();
        root->show();
    } else if (shown.startsWith(QLatin1String("pushButton"))) {
        QTest::mouseClick(window()->findChild<QPushButton *>(shown), Qt::LeftButton);
    } else {
        dialog = std::make_unique<VorDialog>(window());
        if (shown == QLatin1String("choice"))
            dialog->setChoice(QStringLiteral("删除"), QStringLiteral("确认删除Name10"), QStringLiteral("确定"),
                              QStringLiteral("取消"));
        else if (shown == QLatin1String("message"))
            dialog->setMessage(QStringLiteral("错误"), QStringLiteral("没有勾选需要下载的文件"),
                               QStringLiteral("确定"));
        else if (shown == QLatin1String("rename"))
            dialog->setRename(QStringLiteral("新建文件夹"), QStringLiteral("文件夹名称："), QString(),
                              QStringLiteral("确定"), QStringLiteral("取消"));
        else
            dialog->setWait(QStringLiteral("退出中"), QStringLiteral("请稍等..."), nullptr);
        root = dialog.get();
        root->show();
    }
    QVERIFY(QTest::qWaitForWindowExposed(root));
    QCoreApplication::processEvents(); // columns are sized again once a page is shown
    const QStringList clipped = clippedTexts(root);
    if (root == store->loginDialog())
        root->hide();
    QVERIFY2(clipped.isEmpty(), qPrintable(clipped.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
