#include "app/movefilter.h"
#include "support/warningguard.h"

#include <QHBoxLayout>
#include <QMouseEvent>
#include <QPushButton>
#include <QSignalSpy>
#include <QtTest>

namespace {

void sendMouse(QWidget *target, QEvent::Type type, const QPointF &local, const QPointF &global, Qt::MouseButton button)
{
    const Qt::MouseButtons held = type == QEvent::MouseButtonRelease ? Qt::NoButton : Qt::MouseButtons(Qt::LeftButton);
    QMouseEvent event(type, local, local, global, button, held, Qt::NoModifier);
    QCoreApplication::sendEvent(target, &event);
}

struct Window
{
    QWidget window;
    QWidget *title = new QWidget(&window);
    QPushButton *button = new QPushButton(QStringLiteral("X"), title);

    Window()
    {
        new QHBoxLayout(title);
        title->layout()->addWidget(button);
        title->setGeometry(0, 0, 300, 40);
        window.resize(400, 300);
        makeFrameless(&window, title);
        window.move(100, 100);
    }
};

} // namespace

class TestMoveFilter : public QObject
{
    Q_OBJECT
private slots:
    void initTestCase() { WarningGuard::install(); }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void framelessFlags();
    void dragMovesWindowByGrabOffset_data();
    void dragMovesWindowByGrabOffset();
    void releaseEndsDrag();
    void maximizedWindowDoesNotMove();
    void buttonInsideHandleStillClicks();
};

void TestMoveFilter::framelessFlags()
{
    Window w;
    QCOMPARE(int(w.window.windowFlags()), 0x6801);
}

void TestMoveFilter::dragMovesWindowByGrabOffset_data()
{
    QTest::addColumn<QPointF>("press");
    QTest::addColumn<QPoint>("cursor");
    QTest::addColumn<QPoint>("topLeft");
    QTest::newRow("whole pixels") << QPointF(10, 5) << QPoint(300, 200) << QPoint(290, 195);
    QTest::newRow("halves round up") << QPointF(10.5, 5.5) << QPoint(300, 200) << QPoint(289, 194);
    QTest::newRow("below a half rounds down") << QPointF(10.4, 5.4) << QPoint(300, 200) << QPoint(290, 195);
}

void TestMoveFilter::dragMovesWindowByGrabOffset()
{
    QFETCH(QPointF, press);
    QFETCH(QPoint, cursor);
    QFETCH(QPoint, topLeft);
    Window w;
    w.window.show();
    sendMouse(w.title, QEvent::MouseButtonPress, press, press + QPointF(100, 100), Qt::LeftButton);
    sendMouse(w.title, QEvent::MouseMove, QPointF(), cursor, Qt::NoButton);
    QCOMPARE(w.window.pos(), topLeft);
}

void TestMoveFilter::releaseEndsDrag()
{
    Window w;
    w.window.show();
    sendMouse(w.title, QEvent::MouseButtonPress, QPointF(10, 5), QPointF(110, 105), Qt::LeftButton);
    sendMouse(w.title, QEvent::MouseButtonRelease, QPointF(10, 5), QPointF(110, 105), Qt::LeftButton);
    sendMouse(w.title, QEvent::MouseMove, QPointF(), QPoint(500, 500), Qt::NoButton);
    QCOMPARE(w.window.pos(), QPoint(100, 100));
}

void TestMoveFilter::maximizedWindowDoesNotMove()
{
    Window w;
    w.window.showMaximized();
    QTRY_VERIFY(w.window.isMaximized());
    const QPoint before = w.window.pos();
    sendMouse(w.title, QEvent::MouseButtonPress, QPointF(10, 5), QPointF(10, 5), Qt::LeftButton);
    sendMouse(w.title, QEvent::MouseMove, QPointF(), QPoint(300, 300), Qt::NoButton);
    QCOMPARE(w.window.pos(), before);
}

void TestMoveFilter::buttonInsideHandleStillClicks()
{
    Window w;
    w.window.show();
    QSignalSpy clicked(w.button, &QPushButton::clicked);
    QTest::mouseClick(w.button, Qt::LeftButton);
    QCOMPARE(clicked.count(), 1);
}

QTEST_MAIN(TestMoveFilter)
#include "tst_movefilter.moc"
