#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdksamples.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vordialog.h"

#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QStyleOption>
#include <QtTest>

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
    template<typename T> T *child(const char *name) const { return window->findChild<T *>(QLatin1String(name)); }

private slots:
    void initTestCase()
    {
        WarningGuard::install();
        qApp->setStyleSheet(QStringLiteral("file:///:/qss/ombrivane.css"));
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
            for (auto [type, local] :
                 { std::pair(QEvent::MouseButtonPress, QPoint(10, 5)), std::pair(QEvent::MouseMove, QPoint(60, 25)),
                   std::pair(QEvent::MouseButtonRelease, QPoint(60, 25)) }) {
                QMouseEvent event(type, local, local, before + local, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
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
        answerer.answer(QStringLiteral("pushButtonYes"));
        answerer.answer(QString()); // the wait dialog closes when the worker is done
        QTest::mouseClick(child<QPushButton>("pushButtonExit"), Qt::LeftButton);

        QCOMPARE(answerer.seen().value(1).title, QStringLiteral("退出中"));
        QVERIFY(backend.isNull() && !VorSdk::instance()->backend());
        QVERIFY(sinceDeleted.elapsed() >= 500); // the worker lingers so that the wait dialog does not flash
        VorLogin *login = VorData::instance()->loginDialog();
        QVERIFY(login->isVisible() && !window->isVisible());
        login->loginMessage(QString()); // what a successful sign-in reports
        QVERIFY(!login->isVisible() && window->isVisible() && !window->isMinimized());
    }

    // The style sheet reaches widgets by object name: a renamed form object silently loses its style.
    void styleSheetSelectorsFindTheirObjects()
    {
        VorData::instance()->updateSaveFileInfo(SdkSamples::files());
        VorData::instance()->updateTaskInfo(SdkSamples::tasks());
        for (const char *page : { "pushButtonTask", "pushButtonSave" }) // rows get their cells once in view
            QTest::mouseClick(child<QPushButton>(page), Qt::LeftButton);
        VorDialog dialog;
        QSet<QString> names;
        for (QObject *top :
             { static_cast<QObject *>(window), static_cast<QObject *>(VorData::instance()->loginDialog()),
               static_cast<QObject *>(&dialog) }) {
            names << top->objectName();
            for (QObject *object : top->findChildren<QObject *>())
                names << object->objectName();
        }
        QFile css(QStringLiteral(":/qss/ombrivane.css"));
        QVERIFY(css.open(QIODevice::ReadOnly));
        // Selectors only: comments and the declaration blocks (with their colours) are dropped.
        const QString selectors
            = QString::fromUtf8(css.readAll())
                  .remove(QRegularExpression(R"(/\*.*?\*/|\{[^}]*\})", QRegularExpression::DotMatchesEverythingOption));
        QStringList missing;
        for (auto match = QRegularExpression(R"(#(\w+))").globalMatch(selectors); match.hasNext();) {
            const QString name = match.next().captured(1);
            if (!names.contains(name))
                missing << name;
        }
        missing.removeDuplicates();
        QVERIFY2(missing.isEmpty(), qPrintable(missing.join(' ')));
    }

    void textsFit()
    {
        QTest::mouseClick(child<QPushButton>("pushButtonSave"), Qt::LeftButton);
        VorData::instance()->updateSaveFileInfo(SdkSamples::files());
        QCoreApplication::processEvents(); // columns are sized again once the page is shown
        QStringList clipped;
        for (QWidget *widget : window->findChildren<QWidget *>()) {
            QString text;
            const int room = widget->isVisible() ? roomFor(widget, &text) : INT_MAX;
            if (widget->fontMetrics().horizontalAdvance(text) > room)
                clipped << QStringLiteral("%1 \"%2\" has %3 px").arg(widget->objectName(), text).arg(room);
        }
        QVERIFY2(clipped.isEmpty(), qPrintable(clipped.join(QLatin1Char('\n'))));
    }
};

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
