#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdksamples.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

// The width a shown button or line edit leaves its text once the style's borders and padding are off.
static int roomFor(QWidget *widget, QString *text)
{
    if (auto *button = qobject_cast<QPushButton *>(widget)) {
        QStyleOptionButton option;
        option.initFrom(button);
        *text = button->text();
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
    const int margins = edit->textMargins().left() + edit->textMargins().right() + 2 * 2; // 2: the edit's own
    return edit->style()->subElementRect(QStyle::SE_LineEditContents, &option, edit).width() - margins;
}

class TestVorMain : public QObject
{
    Q_OBJECT
    VorMain *window = VorData::instance()->mainWindow();
    VorLogin *login = VorData::instance()->loginDialog();
    template<typename T = QPushButton> T *child(const QString &name) const { return window->findChild<T *>(name); }

private slots:
    void initTestCase()
    {
        WarningGuard::install();
        qApp->setStyleSheet("file:///:/qss/ombrivane.css");
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
    }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void dragByTheTitle()
    {
        for (bool maximised : { true, false }) {
            maximised ? window->showMaximized() : window->showNormal();
            QTRY_COMPARE(window->isMaximized(), maximised);
            const QPoint before = window->pos();
            for (QEvent::Type type : { QEvent::MouseButtonPress, QEvent::MouseMove, QEvent::MouseButtonRelease }) {
                const QPoint at = type == QEvent::MouseButtonPress ? QPoint(10, 5) : QPoint(60, 25);
                QMouseEvent event(type, at, at, before + at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
                QCoreApplication::sendEvent(child<QWidget>("widgetMainTop"), &event);
            }
            QCOMPARE(window->pos(), maximised ? before : before + QPoint(50, 20));
        }
    }

    void logoutAndSignInAgain()
    {
        QPointer<RecordingBackend> backend = new RecordingBackend;
        VorSdk::instance()->adoptBackend(backend);
        QElapsedTimer sinceDeleted;
        connect(backend, &QObject::destroyed, [&sinceDeleted] { sinceDeleted.start(); }); // on the logout worker
        window->showMinimized();
        ModalAnswerer answerer;
        answerer.answer("pushButtonYes");
        answerer.answer(QString()); // the wait dialog closes when the worker is done
        QTest::mouseClick(child("pushButtonExit"), Qt::LeftButton);
        QCOMPARE(answerer.seen().value(1).title, QStringLiteral("退出中"));
        QVERIFY(backend.isNull() && !VorSdk::instance()->backend());
        QVERIFY(sinceDeleted.elapsed() >= 500); // the worker lingers so that the wait dialog does not flash
        QVERIFY(login->isVisible() && !window->isVisible());
        login->loginMessage(QString()); // what a successful sign-in reports
        QVERIFY(!login->isVisible() && window->isVisible() && !window->isMinimized());
    }

    // Each navigation button shows its page, alone checked; the style sheet reaches the widgets of every page
    // by object name, so a renamed form object silently loses its style.
    void pagesAndStyleSelectors()
    {
        VorData::instance()->updateSaveFileInfo(SdkSamples::files());
        VorData::instance()->updateTaskInfo(SdkSamples::tasks());
        for (QString clicked : { "pushButtonTask", "pushButtonDownload", "pushButtonDownload", "pushButtonSave" }) {
            QTest::mouseClick(child(clicked), Qt::LeftButton);
            QStringList checked;
            for (QPushButton *button : child<QWidget>("widgetMainLeft")->findChildren<QPushButton *>())
                checked << (button->isChecked() ? button->objectName() : QString());
            QCOMPARE(checked.join(' ').simplified(), clicked);
            QCOMPARE(child<QStackedWidget>("stackedWidget")->currentWidget()->objectName(), "page" + clicked.mid(10));
            QCOMPARE(child(clicked)->grab().toImage().pixelColor(12, 6), QColor("#1890FF")); // filled when checked
        }
        VorDialog dialog;
        QSet<QString> names { window->objectName(), login->objectName(), dialog.objectName() };
        for (QObject *top : QObjectList { window, login, &dialog })
            for (QObject *object : top->findChildren<QObject *>())
                names << object->objectName();
        QFile css(":/qss/ombrivane.css");
        QVERIFY(css.open(QIODevice::ReadOnly));
        // Selectors only: comments and the declaration blocks (with their colours) are dropped.
        const QString selectors = QString(css.readAll()).remove(QRegularExpression(R"((?s)/\*.*?\*/|\{[^}]*\})"));
        QSet<QString> named;
        for (auto match = QRegularExpression(R"(#(\w+))").globalMatch(selectors); match.hasNext();)
            named << match.next().captured(1);
        QCOMPARE((named - names).values().join(' '), QString());
    }

    void textsFit()
    {
        QTest::mouseClick(child("pushButtonSave"), Qt::LeftButton);
        VorData::instance()->updateSaveFileInfo(SdkSamples::files());
        QCoreApplication::processEvents(); // columns are sized again once the page is shown
        QStringList clipped;
        for (QWidget *widget : window->findChildren<QWidget *>()) {
            QString text;
            const int room = widget->isVisible() ? roomFor(widget, &text) : INT_MAX;
            if (widget->fontMetrics().horizontalAdvance(text) > room)
                clipped << QString("%1 \"%2\" has %3 px").arg(widget->objectName(), text).arg(room);
        }
        QCOMPARE(clipped.join('\n'), QString());
    }
};

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
