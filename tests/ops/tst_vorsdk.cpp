#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorlogin.h"
#include "ops/vorsdk.h"
#include "support/modalanswerer.h"
#include "support/recordingbackend.h"
#include "support/warningguard.h"

// The facade and the session store it fills, signed in through the login dialog.
class TestVorSdk : public QObject
{
    Q_OBJECT
    VorData *data = VorData::instance();

private slots:
    void initTestCase() { WarningGuard::install(); }
    void init() { VorSdk::instance()->exit(); }
    void cleanup() { VERIFY_NO_QT_WARNINGS(); }

    void storeKeepsItsTaskListAndTip()
    {
        // Shared with the name of the record handed over: once the record is freed, this copy is alone.
        const QString name = QString::number(42);
        auto *task = new TaskInfo;
        task->name = name;
        data->updateTaskInfo({ task, new TaskInfo });
        data->deleteTaskInfo(task->id);
        QCOMPARE(data->mainWindow()->findChild<QWidget *>("pageTask")->findChild<QTableWidget *>()->rowCount(), 1);
        QVERIFY(!name.isDetached()); // the caller may still hold it
        data->updateTaskInfo(QList<TaskInfo *> { task });
        data->updateTaskInfo(QList<TaskInfo *>());
        QVERIFY(name.isDetached());
        QSignalSpy spy(data, &VorData::dataUpdateTaskInfo);
        data->addTaskInfo({}); // nothing to announce
        data->addTaskInfo({ new TaskInfo });
        data->addTaskInfo({}); // the page still redraws what it has
        QCOMPARE(spy.count(), 2);
        data->updateTaskInfo({ new TaskInfo { 1 }, new TaskInfo { 2 } });
        data->updateTaskInfo(new TaskInfo { 1, name }); // in the place of the record it replaces
        QCOMPARE(data->tasks().first()->name, name);
        // The expiry tip to the last day and after it, and none when it is not asked for.
        data->updateUser(QStringLiteral("tarn"), -3, true);
        QCOMPARE(data->getUserTips(), "您的授权码有效期还有 -3 天，到期后若需要继续使用请联系业务管理员");
        data->updateUser(QStringLiteral("tarn"), 5, false);
        QCOMPARE(data->getUserTips(), QString());
        auto *recorder = new RecordingBackend; // every file chosen for upload goes to the back end
        VorSdk::instance()->adoptBackend(recorder);
        VorSdk::instance()->upload({ "a", "b" });
        QCOMPARE(recorder->calls, QStringList({ "upload a", "upload b" }));
    }

    void signIn_data()
    {
        QTest::addColumn<QString>("code");
        QTest::addColumn<QString>("message"); // empty: signed in
        const auto codeOf
            = [](const QByteArray &json) { return QString::fromLatin1(("q1w2e3" + json.toBase64()).toBase64()); };
        const QString code = VorLogin::defaultCode();
        const QString parseError = QStringLiteral("授权码解析错误，请检查你的授权码是否正确！");
        QTest::newRow("default code") << code << QString();
        const QByteArray json = QByteArray::fromBase64(QByteArray::fromBase64(code.toLatin1()).mid(6));
        QTest::newRow("a zero byte ends the document") << codeOf(json + QByteArray("\0}", 2)) << QString();
        QTest::newRow("blanks only") << QStringLiteral(" \n\t ") << QStringLiteral("授权码不能为空");
        QTest::newRow("largest length, dots skipped") << code.leftJustified(64 * 1024, QLatin1Char('.')) << QString();
        const QString noServer = codeOf(R"({"storage":"sftp","userInfo":{"host":"127.0.0.1","port":"1"}})");
        QTest::newRow("nothing listens") << noServer
                                         << QString("登录服务器失败，请检查你的授权码是否有效！\n错误信息：");
        QTest::newRow("storage in capitals") << codeOf(R"({"storage":"TARN","project":"a"})") << parseError;
        QTest::newRow("SFTP in capitals") << codeOf(R"({"storage":"SFTP","project":"a"})") << parseError;
        QTest::newRow("repeated key") << codeOf(R"({"storage":"tarn","project":"a","\u0070roj\u0065ct":"b"})")
                                      << parseError;
    }

    void signIn()
    {
        QFETCH(QString, code);
        QFETCH(QString, message);
        qApp->setQuitOnLastWindowClosed(false); // closing a dialog must not end the test
        VorLogin *dialog = data->loginDialog();
        dialog->show();
        dialog->findChild<QTextEdit *>()->setPlainText(code);
        ModalAnswerer answerer;
        answerer.answer(QString()); // the wait dialog closes by itself
        answerer.answer(QStringLiteral("pushButtonYes"));
        // Ctrl+Enter signs in from the code box, which keeps a plain Enter for itself.
        QApplication::setActiveWindow(dialog);
        dialog->findChild<QTextEdit *>()->setFocus();
        QTest::keyClick(dialog->findChild<QTextEdit *>(), message.isEmpty() ? Qt::Key_Enter : Qt::Key_Return,
                        Qt::ControlModifier);

        QCOMPARE(answerer.seen().value(1).text, message);
        QCOMPARE(answerer.seen().value(1).title, message.isEmpty() ? QString() : QStringLiteral("错误"));
        if (!message.isEmpty()) // the worker answers half a second after the login, so the wait does not flash
            QVERIFY(answerer.seen().value(1).shownAt - answerer.seen().value(0).shownAt >= 450);
        QWidget *window = data->mainWindow();
        QCOMPARE(window->isVisible() && !window->isMinimized(), message.isEmpty()); // as the user left it
        QCOMPARE(dialog->isVisible(), !message.isEmpty()); // the login window goes once signed in
        if (message.isEmpty()) {
            // Built on the login worker, the back end now belongs to the window's thread and the facade.
            SdkObject *backend = VorSdk::instance()->backend();
            QVERIFY(backend->thread() == QThread::currentThread() && backend->parent() == VorSdk::instance());
            QCOMPARE(window->findChild<QPushButton *>("pushButtonUser")->text(), backend->userName());
            for (QWidget *page : window->findChildren<QWidget *>(QRegularExpression("^page(Save|Task)$")))
                QVERIFY(page->findChild<QWidget *>("pushButtonPublic")->isVisibleTo(page)
                        && !page->findChild<QWidget *>("pushButtonPrivate")->isVisibleTo(page));
            // What the offline object store serves: its code's home folder and days left, and its sample rows.
            const QDate expiry = QDateTime::fromMSecsSinceEpoch(4102444800000).date(); // in the default code
            QVERIFY(window->findChild<QLabel *>("labelTips")
                        ->text()
                        .contains(QString(" %1 天").arg(QDate::currentDate().daysTo(expiry))));
            QCOMPARE(window->findChild<QPushButton *>("pushButton_1")->text(), "tarn-demo");
            QCOMPARE(window->findChild<QWidget *>("pageSave")->findChild<QTableWidget *>()->item(1, 3)->text(),
                     "101KB");
            QCOMPARE(window->findChild<QWidget *>("pageTask")->findChild<QTableWidget *>()->item(0, 2)->text(), "上传");
            for (const TaskInfo *task : data->tasks())
                QVERIFY(task->status != TaskFinished || task->progress == 100);
            // The download history is in place before its page is first opened.
            QCOMPARE(window->findChild<QWidget *>("pageDownload")->findChild<QTableWidget *>()->rowCount(), 22);
            // Out from the minimised window: the logout worker frees the back end and lingers (no flashing wait).
            QElapsedTimer sinceFreed;
            connect(backend, &QObject::destroyed, [&sinceFreed] { sinceFreed.start(); });
            window->showMinimized();
            answerer.answer(QString()); // 确认退出？ takes the Yes no error dialog took
            window->findChild<QPushButton *>("pushButtonExit")->click();
            QCOMPARE(answerer.seen().value(2).title, "退出中");
            QVERIFY(!VorSdk::instance()->backend() && sinceFreed.elapsed() >= 500);
            QVERIFY(dialog->isVisible() && !window->isVisible());
        }
    }
};

QTEST_MAIN(TestVorSdk)
#include "tst_vorsdk.moc"
