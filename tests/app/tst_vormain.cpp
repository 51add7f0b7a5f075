#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "sdk/sdksamples.h"
#include "support/modalanswerer.h"
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

public:
    static void initMain() { followScreenScale(); } // before the application exists, as in the program

private slots:
    void initTestCase()
    {
        WarningGuard::install();
        qApp->setStyleSheet("file:///:/qss/ombrivane.css");
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window));
        login->resize(login->width(), 462); // as a short screen leaves it: placed, it still ends on a whole pixel
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

    void eachWindow_data()
    {
        QTest::addColumn<QString>("shown"); // a page of the main window, the login window or a dialog
        QTest::addColumn<QString>("tabs"); // the controls Tab visits, in turn
        const QString top = "pushButtonExit pushButtonSave pushButtonTask pushButtonDownload ", login = "login";
        const QString pager = " tableWidget previousPageLabel nextPageLabel pageLineEdit", rename = "rename";
        const QString storage = top + "pushButton_1 pushButtonUp pushButtonDown pushButtonMkDir lineEdit";
        QTest::newRow("storage page") << QString("pushButtonSave") << storage + " pushButtonRefresh tableWidget";
        QTest::newRow("task page") << QString("pushButtonTask")
                                   << top + "pushButtonDelete comboBoxType comboBoxStatus pushButtonRefresh" + pager;
        QTest::newRow("download page") << QString("pushButtonDownload") << top + "lineEdit pushButtonRefresh" + pager;
        QTest::newRow("login") << login << "textEdit pushButtonLogin";
        QTest::newRow("rename dialog") << rename << "lineEditRename pushButtonYes pushButtonNo";
    }
    // Each window as its user meets it at the screen's scale: texts that fit, pictures as fine as the screen, a
    // Chinese name for every control and column, and Tab in reading order, each control showing the focus.
    void eachWindow()
    {
        QFETCH(QString, shown);
        VorData::instance()->updateFilePath("/home");
        VorData::instance()->updateSaveFileInfo(SdkSamples::files());
        VorData::instance()->updateTaskInfo(SdkSamples::tasks());
        VorData::instance()->updateDownloadInfo(SdkSamples::downloads());
        VorDialog dialog;
        dialog.setRename("重命名", "重命名", QString(), "确定", "取消");
        QWidget *top = shown == "login" ? login : shown == "rename" ? static_cast<QWidget *>(&dialog) : window;
        top->show();
        QApplication::setActiveWindow(top);
        QVERIFY(QTest::qWaitForWindowActive(top));
        if (top == window) { // its navigation button shows the page, alone checked and filled blue
            QTest::mouseClick(child(shown), Qt::LeftButton);
            QStringList checked;
            for (QPushButton *button : child<QWidget>("widgetMainLeft")->findChildren<QPushButton *>())
                checked << (button->isChecked() ? button->objectName() : QString());
            QWidget *page = child<QStackedWidget>("stackedWidget")->currentWidget();
            QCOMPARE(checked.join(' ').simplified() + ' ' + page->objectName(), shown + " page" + shown.mid(10));
            QCOMPARE(QApplication::focusWidget(), page->findChild<QTableWidget *>()); // the keys go to its rows
            const QImage button = child(shown)->grab().toImage();
            QCOMPARE(button.pixelColor(QPoint(16, 12) * button.devicePixelRatio()), QColor("#1890FF"));
        }
        // The screen's scale as the system reports it (QT_FONT_DPI), and the faces Chinese Windows users know.
        QCOMPARE(top->devicePixelRatioF(), qEnvironmentVariableIntValue("QT_FONT_DPI") / 96.0);
        QCOMPARE(top->font().families().mid(0, 3),
                 QStringList({ "Microsoft YaHei UI", "Microsoft YaHei", "PingFang SC" }));

        QStringList unnamed;
        QHash<QWidget *, QPair<int, int>> unfocused; // pixels of the focus ring's two blues, without the focus
        const auto ringPixels = [](QWidget *widget) {
            const QImage image = widget->grab().toImage();
            const auto *first = reinterpret_cast<const QRgb *>(image.constBits()),
                       *end = first + image.sizeInBytes() / 4;
            return qMakePair(int(std::count(first, end, 0xFF1890FF)), int(std::count(first, end, 0xFF0050B3)));
        };
        for (QWidget *widget : top->findChildren<QWidget *>()) {
            const bool focusable = widget->focusPolicy() & Qt::TabFocus;
            if (!widget->isVisibleTo(top) || (!focusable && !qobject_cast<QAbstractButton *>(widget)))
                continue;
            auto *button = qobject_cast<QAbstractButton *>(widget);
            if (button && !button->icon().isNull()
                && button->icon().pixmap(top->windowHandle(), button->iconSize()).devicePixelRatio()
                    != top->devicePixelRatioF())
                unnamed << widget->objectName() + " blurred";
            QString text; // each text fits its widget
            if (const int room = roomFor(widget, &text); widget->fontMetrics().horizontalAdvance(text) > room)
                unnamed << QString("%1 \"%2\" has %3 px").arg(widget->objectName(), text).arg(room);
            const QString name = QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name);
            if (name.size() < 2 || !name.contains(QRegularExpression("\\p{Han}")))
                unnamed << widget->objectName() + " \"" + name + '"';
            if (focusable && widget != QApplication::focusWidget())
                unfocused.insert(widget, ringPixels(widget));
        }
        for (auto *picture : top->findChildren<QLabel *>()) // drawn from a rendering at least as big as its place
            if (picture->isVisibleTo(top) && !picture->pixmap(Qt::ReturnByValue).isNull()
                && picture->pixmap(Qt::ReturnByValue).width() < picture->width() * picture->devicePixelRatioF())
                unnamed << picture->objectName() + " blurred";
        for (auto *table : top->findChildren<QTableWidget *>()) // a reader names a column as its header cell says
            for (int column = 0; table->isVisibleTo(top) && column < table->columnCount(); ++column)
                if (table->model()->headerData(column, Qt::Horizontal, Qt::AccessibleTextRole).toString()
                        + table->model()->headerData(column, Qt::Horizontal).toString()
                    == "")
                    unnamed << table->accessibleName() + QString(" column %1").arg(column);
        QCOMPARE(unnamed.join(", "), QString());
        // At any scale the frameless window shows its border all round: its left, right, top and bottom edges.
        const QImage image = top->grab().toImage();
        const int w = image.width() - 1, h = image.height() - 1;
        QStringList edges;
        for (const QPoint &edge : { QPoint(0, h / 2), QPoint(w, h / 2), QPoint(w / 2, 0), QPoint(w / 2, h) })
            edges << image.pixelColor(edge).name();
        QCOMPARE(edges.join(' '), QString("#c5ced9 ").repeated(4).trimmed());

        QFETCH(QString, tabs);
        QWidget *first = top->findChild<QWidget *>(tabs.section(' ', 0, 0));
        first->setFocus(Qt::TabFocusReason);
        QStringList visited, unmarked;
        do {
            QWidget *focused = QApplication::focusWidget();
            visited << focused->objectName();
            const auto ring = ringPixels(focused), before = unfocused.value(focused, ring);
            if (unfocused.contains(focused) && ring.first <= before.first && ring.second <= before.second)
                unmarked << focused->objectName();
            QTest::keyClick(focused, Qt::Key_Tab);
        } while (QApplication::focusWidget() != first && visited.size() < 30);
        QCOMPARE(visited.join(' '), tabs);
        QCOMPARE(unmarked.join(' '), QString()); // the focus shows on each, as a blue ring
        if (top != window)
            top->hide();
    }

    // The program's own names as they stand, every style sheet selector on a widget, every picture in twice size.
    void namesStyleAndPictures()
    {
        for (const char *page : { "pushButtonTask", "pushButtonSave" }) // each page makes the cells of its rows
            QTest::mouseClick(child(page), Qt::LeftButton);
        QStringList titles; // the program's own names, as they stand
        for (QWidget *top : QWidgetList { window, login })
            for (QLabel *label :
                 top->findChildren<QLabel *>(QRegularExpression("^label(TitleText|TitleName|Title|Product)$")))
                titles << label->text();
        QCOMPARE(titles.join('|'), "Veltra-客户端工具|Quenvar-Clent Tools|Veltra-客户端工具|Quenvar-Clent Tools");
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
        // Sharp at any scale: every picture has its twice-size rendering.
        QStringList missing;
        for (const QFileInfo &file : QDir(":/img").entryInfoList({ "*.png", "*.gif" })) {
            const QString twice = file.filePath().replace(QRegularExpression("(@2x)?\\.(png|gif)$"), "@2x.\\2");
            if (!file.baseName().endsWith("@2x") && QImage(twice).size() != QImage(file.filePath()).size() * 2)
                missing << file.fileName();
        }
        QCOMPARE(missing.join(' '), QString());
    }
};

QTEST_MAIN(TestVorMain)
#include "tst_vormain.moc"
