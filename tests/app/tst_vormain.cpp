#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdksamples.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyleOption>
#include <QtTest>

namespace {

// The room a visible button or line edit leaves its text once the style's borders and padding are off.
int roomFor(QWidget *widget, QString *text)
{
    if (auto *button = qobject_cast<QPushButton *>(widget)) {
        QStyleOptionButton option;
        option.initFrom(button);
        option.text = *text = button->text();
        option.icon = button->icon();
        option.iconSize = button->iconSize();
        const int icon = button->icon().isNull() ? 0 : button->iconSize().width() + 4;
        return button->style()->subElementRect(QStyle::SE_PushButtonContents, &option, button).width() - icon;
    }
    auto *edit = qobject_cast<QLineEdit *>(widget);
    if (!edit)
        return INT_MAX;
    QStyleOptionFrame option;
    option.initFrom(edit);
    option.lineWidth = edit->hasFrame() ? edit->style()->pixelMetric(QStyle::PM_DefaultFrameWidth, &option, edit) : 0;
    *text = edit->text().isEmpty() ? edit->placeholderText() : edit->text();
    const QMargins margins = edit->textMargins();
    const int innerMargins = 2 * 2; // the line edit's own on either side
    return edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).width() - margins.left()
        - margins.right() - innerMargins;
}

} // namespace

class TestVorMain : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase();
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void dragByTheTitle_data();
    void dragByTheTitle();
    void logoutAndSignInAgain();
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

void TestVorMain::dragByTheTitle_data()
{
    QTest::addColumn<bool>("maximised");
    QTest::newRow("maximised stays") << true;
    QTest::newRow("normal follows") << false;
}

void TestVorMain::dragByTheTitle()
{
    QFETCH(bool, maximised);
    maximised ? window()->showMaximized() : window()->showNormal();
    QTRY_COMPARE(window()->isMaximized(), maximised);
    const QPoint before = window()->pos();
    const auto send = [this, before](QEvent::Type type, const QPoint &local) {
        QMouseEvent event(type, local, local, before + local, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
        QCoreApplication::sendEvent(child<QWidget>("widgetMainTop"), &event);
    };
    send(QEvent::MouseButtonPress, QPoint(10, 5));
    send(QEvent::MouseMove, QPoint(60, 25));
    send(QEvent::MouseButtonRelease, QPoint(60, 25));
    QCOMPARE(window()->pos(), maximised ? before : before + QPoint(50, 20));
}

void TestVorMain::logoutAndSignInAgain()
{
    QPointer<RecordingBackend> backend = new RecordingBackend;
    VorSdk::instance()->adoptBackend(backend);
    QElapsedTimer sinceDeleted;
    connect(backend, &QObject::destroyed, [&sinceDeleted] { sinceDeleted.start(); }); // on the logout worker
    window()->showMinimized();
    ModalAnswerer answerer;
    answerer.answer(QStringLiteral("pushButtonYes"));
    answerer.answer(QString()); // the wait dialog closes when the worker is done
    QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);

    QCOMPARE(answerer.seen().value(1).title, QStringLiteral("退出中"));
    QVERIFY(backend.isNull() && !VorSdk::instance()->backend());
    QVERIFY(sinceDeleted.elapsed() >= 500); // the worker lingers so that the wait dialog does not flash
    VorLogin *login = VorData::instance()->loginDialog();
    QVERIFY(login->isVisible() && !window()->isVisible());

    login->loginMessage(QString()); // what a successful sign-in reports
    QVERIFY(!login->isVisible() && window()->isVisible());
    QVERIFY(!window()->isMinimized());
}

void TestVorMain::textsFit()
{
    // The rows arrive while the storage page is in front, as at sign-in.
    QTest::mouseClick(child<QPushButton>("pushButtonSave"), Qt::LeftButton);
    VorData::instance()->updateSaveFileInfo(SdkSamples::files());
    QCoreApplication::processEvents(); // columns are sized again once the page is shown
    QStringList clipped;
    for (QWidget *widget : window()->findChildren<QWidget *>()) {
        QString text;
        const int room = widget->isVisible() ? roomFor(widget, &text) : INT_MAX;
        const int needed = widget->fontMetrics().horizontalAdvance(text);
        if (needed > room)
            clipped << QStringLiteral("%1 \"%2\" needs %3 px, has %4")
                           .arg(widget->objectName(), text)
                           .arg(needed)
                           .arg(room);
    }
    QVERIFY2(clipped.isEmpty(), qPrintable(clipped.join(QLatin1Char('\n'))));
}

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
