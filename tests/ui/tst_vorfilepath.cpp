#include "uitestkit.h"

#include "model/vordata.h"
#include "ops/vorsdk.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"
#include "ui/vorfilepath.h"
#include "ui/vorlocation.h"

#include <QLabel>
#include <QPushButton>
#include <QtTest>

// The path bar and the storage-location switch above the storage table.
class TestVorFilePath : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void form();
    void showsTheLastSixLevels_data();
    void showsTheLastSixLevels();
    void clickingALevelListsIt_data();
    void clickingALevelListsIt();
    void longNamesAreNotElided();
    void locationForm();
    void locationShowsTheSessionKind_data();
    void locationShowsTheSessionKind();

private:
    QList<QPushButton *> buttons() const;
    QList<QLabel *> labels() const;
    QStringList shownTexts() const;
    QStringList shownToolTips() const;
    int shownLabels() const;

    RecordingBackend *m_backend = nullptr;
    VorFilePath *m_bar = nullptr;
};

void TestVorFilePath::initTestCase()
{
    WarningGuard::install();
    UiTestKit::allowOffscreenPluginNotices();
    VorData::instance();
}

void TestVorFilePath::init()
{
    m_backend = UiTestKit::installRecorder();
    m_bar = new VorFilePath;
    m_bar->show();
    QVERIFY(QTest::qWaitForWindowExposed(m_bar));
}

void TestVorFilePath::cleanup()
{
    delete m_bar;
    m_bar = nullptr;
    VorSdk::instance()->exit();
    VERIFY_NO_STRAY_WINDOWS();
    VERIFY_NO_QT_WARNINGS();
}

QList<QPushButton *> TestVorFilePath::buttons() const
{
    QList<QPushButton *> list;
    for (int k = 1; k <= 6; ++k)
        list << m_bar->findChild<QPushButton *>(QStringLiteral("pushButton_%1").arg(k));
    return list;
}

QList<QLabel *> TestVorFilePath::labels() const
{
    QList<QLabel *> list;
    for (int k = 1; k <= 6; ++k)
        list << m_bar->findChild<QLabel *>(QStringLiteral("label_%1").arg(k));
    return list;
}

// What the user reads on the visible level buttons, left to right ("&&" shows as one "&").
QStringList TestVorFilePath::shownTexts() const
{
    QStringList texts;
    for (QPushButton *button : buttons()) {
        if (!button->isVisibleTo(m_bar))
            continue;
        // What the button shows: "&&" is an ampersand, a single "&" only marks a shortcut.
        QString text = button->text();
        text.replace(QLatin1String("&&"), QStringLiteral("\x01")).remove(QLatin1Char('&'));
        texts << text.replace(QLatin1Char('\x01'), QLatin1Char('&'));
    }
    return texts;
}

QStringList TestVorFilePath::shownToolTips() const
{
    QStringList tips;
    for (QPushButton *button : buttons()) {
        if (button->isVisibleTo(m_bar))
            tips << button->toolTip();
    }
    return tips;
}

int TestVorFilePath::shownLabels() const
{
    int shown = 0;
    for (QLabel *label : labels())
        shown += label->isVisibleTo(m_bar) ? 1 : 0;
    return shown;
}

void TestVorFilePath::form()
{
    QCOMPARE(m_bar->objectName(), QStringLiteral("VorFilePath"));
    delete m_bar;
    m_bar = new VorFilePath;
    QCOMPARE(m_bar->size(), QSize(356, 30));
    for (QPushButton *button : buttons()) {
        QVERIFY(button);
        QCOMPARE(button->minimumHeight(), 30);
        QCOMPARE(button->maximumHeight(), 30);
        QCOMPARE(button->cursor().shape(), Qt::PointingHandCursor);
        QVERIFY(button->text().isEmpty());
        QVERIFY(!button->isVisibleTo(m_bar));
    }
    for (QLabel *label : labels()) {
        QVERIFY(label);
        QCOMPARE(label->text(), QStringLiteral("/"));
        QCOMPARE(label->sizePolicy().horizontalPolicy(), QSizePolicy::Fixed);
        QVERIFY(!label->isVisibleTo(m_bar));
    }
}

void TestVorFilePath::showsTheLastSixLevels_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QStringList>("texts");
    QTest::addColumn<QStringList>("toolTips");

    QTest::newRow("one level") << "/user-01" << QStringList { "user-01" } << QStringList { "/user-01" };
    QTest::newRow("six levels") << "/a/b/c/d/e/f" << QStringList { "a", "b", "c", "d", "e", "f" }
                                << QStringList { "/a", "/a/b", "/a/b/c", "/a/b/c/d", "/a/b/c/d/e", "/a/b/c/d/e/f" };
    QTest::newRow("seven levels") << "/a/b/c/d/e/f/g" << QStringList { "b", "c", "d", "e", "f", "g" }
                                  << QStringList { "/a/b",       "/a/b/c",       "/a/b/c/d",
                                                   "/a/b/c/d/e", "/a/b/c/d/e/f", "/a/b/c/d/e/f/g" };
    QTest::newRow("nine levels") << "/1/2/3/4/5/6/7/8/9" << QStringList { "4", "5", "6", "7", "8", "9" }
                                 << QStringList { "/1/2/3/4",       "/1/2/3/4/5",       "/1/2/3/4/5/6",
                                                  "/1/2/3/4/5/6/7", "/1/2/3/4/5/6/7/8", "/1/2/3/4/5/6/7/8/9" };
    QTest::newRow("repeated slashes") << "//a///b" << QStringList { "a", "b" } << QStringList { "/a", "/a/b" };
    QTest::newRow("trailing slash") << "/a/b/" << QStringList { "a", "b" } << QStringList { "/a", "/a/b" };
    QTest::newRow("no leading slash") << "a//b" << QStringList { "a", "b" } << QStringList { "/a", "/a/b" };
    QTest::newRow("root") << "/" << QStringList {} << QStringList {};
    QTest::newRow("empty") << "" << QStringList {} << QStringList {};
    QTest::newRow("ampersand in a name") << "/R&D" << QStringList { "R&D" } << QStringList { "/R&D" };
}

void TestVorFilePath::showsTheLastSixLevels()
{
    QFETCH(QString, path);
    QFETCH(QStringList, texts);
    QFETCH(QStringList, toolTips);

    m_bar->setPath(QStringLiteral("/x1/x2/x3/x4/x5/x6/x7")); // a full bar first: nothing of it may remain
    m_bar->setPath(path);
    QCOMPARE(shownTexts(), texts);
    QCOMPARE(shownToolTips(), toolTips);
    QCOMPARE(shownLabels(), texts.size()); // a "/" after every level, the last one included
    for (int k = 0; k < texts.size(); ++k) {
        QVERIFY(buttons().at(k)->isVisibleTo(m_bar)); // the shown levels are the first buttons
        QVERIFY(labels().at(k)->isVisibleTo(m_bar));
    }
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorFilePath::clickingALevelListsIt_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<QString>("listed");
    QTest::newRow("first shown level") << 0 << "/a/b";
    QTest::newRow("a middle level") << 2 << "/a/b/c/d";
    QTest::newRow("the current level") << 5 << "/a/b/c/d/e/f/g";
}

void TestVorFilePath::clickingALevelListsIt()
{
    QFETCH(int, button);
    QFETCH(QString, listed);

    m_bar->setPath(QStringLiteral("/a/b/c/d/e/f/g"));
    QTest::mouseClick(buttons().at(button), Qt::LeftButton);
    QCOMPARE(m_backend->calls, QStringList { QStringLiteral("getFileInfo %1 ").arg(listed) });
    QCOMPARE(VorData::instance()->path(), listed);
}

void TestVorFilePath::longNamesAreNotElided()
{
    const QString name = QStringLiteral("a-rather-long-folder-name-that-is-shown-in-full-on-its-button");
    m_bar->setPath(QLatin1Char('/') + name);
    QPushButton *button = buttons().at(0);
    QCOMPARE(button->text(), name);
    QTRY_VERIFY(button->width() >= button->fontMetrics().horizontalAdvance(name));
}

void TestVorFilePath::locationForm()
{
    VorLocation location;
    QCOMPARE(location.objectName(), QStringLiteral("VorLocation"));
    auto *pub = location.findChild<QPushButton *>(QStringLiteral("pushButtonPublic"));
    auto *pri = location.findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"));
    QVERIFY(pub && pri);
    QCOMPARE(pub->text(), QStringLiteral("公有云存储"));
    QCOMPARE(pri->text(), QStringLiteral("私有云存储"));
    QCOMPARE(pub->cursor().shape(), Qt::PointingHandCursor);
    QCOMPARE(pri->cursor().shape(), Qt::PointingHandCursor);
    QVERIFY(!pub->isVisibleTo(&location));
    QVERIFY(!pri->isVisibleTo(&location));
    QVERIFY(location.findChild<QWidget *>(QStringLiteral("widgetLocation")));

    // The buttons only label the session: a click changes nothing and calls nothing.
    location.setPublicVisible(true);
    location.show();
    QVERIFY(QTest::qWaitForWindowExposed(&location));
    QTest::mouseClick(pub, Qt::LeftButton);
    QVERIFY(pub->isVisible());
    QVERIFY(m_backend->calls.isEmpty());
}

void TestVorFilePath::locationShowsTheSessionKind_data()
{
    QTest::addColumn<bool>("pub");
    QTest::addColumn<bool>("pri");
    QTest::newRow("object store") << true << false;
    QTest::newRow("sftp") << false << true;
    QTest::newRow("no session") << false << false;
    QTest::newRow("both") << true << true;
}

void TestVorFilePath::locationShowsTheSessionKind()
{
    QFETCH(bool, pub);
    QFETCH(bool, pri);

    VorLocation location;
    location.setPublicVisible(!pub); // the opposite first: each setter must really set
    location.setPrivateVisible(!pri);
    location.setPublicVisible(pub);
    location.setPrivateVisible(pri);
    QCOMPARE(location.findChild<QPushButton *>(QStringLiteral("pushButtonPublic"))->isVisibleTo(&location), pub);
    QCOMPARE(location.findChild<QPushButton *>(QStringLiteral("pushButtonPrivate"))->isVisibleTo(&location), pri);
}

QTEST_MAIN(TestVorFilePath)
#include "tst_vorfilepath.moc"
