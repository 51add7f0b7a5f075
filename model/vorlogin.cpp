#include "model/vorlogin.h"
#include "ui_vorlogin.h"

#include "app/movefilter.h"
#include "app/vormain.h"
#include "model/vordata.h"
#include "model/vorthreadlogin.h"
#include "ui/keys.h"
#include "ui/vordialog.h"

#include <QIcon>
#include <QShowEvent>

QString VorLogin::defaultCode()
{
    // Made with scripts/make-auth-code from an object-store document (project "tarn-demo", prefix
    // "/tarn-demo", valid until 2100).
    return QStringLiteral(
        "Vm9yN1FrZXlKemRHOXlZV2RsSWpvaWRHRnliaUlzSW5CeWIycGxZM1FpT2lKMFlYSnVMV1JsYlc4aUxDSjFjMlZ5U1c1bWJ5"
        "STZleUpoWTJObGMzTnJaWGtpT2lKUFRVSlNTVlpCVGtWRVJVMVBRVU5EUlZOVElpd2ljMlZqY21WMGEyVjVJam9pYjIxaWNt"
        "bDJZVzVsTFdSbGJXOHRjMlZqY21WMExUQXdNREF3TVNJc0ltVnVaRkJ2YVc1MElqb2lhSFIwY0Rvdkx6RXlOeTR3TGpBdU1U"
        "bzVNREF3SWl3aVluVmphMlYwVG1GdFpTSTZJbTl0WW5KcGRtRnVaUzFrWlcxdklpd2ljSEpsWm1sNFRtRnRaU0k2SWk5MFlY"
        "SnVMV1JsYlc4aUxDSmxlSEJwY21WVWFXMWxJam9pTkRFd01qUTBORGd3TURBd01DSjlmUT09");
}

VorLogin::VorLogin(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorLogin>())
{
    ui->setupUi(this);
    setWindowIcon(QIcon(QStringLiteral(":/img/logo.png")));
    makeFrameless(this, ui->widgetBorder);
    ui->textEdit->setPlainText(defaultCode());

    connect(ui->pushButtonMinimize, &QPushButton::clicked, this, &QWidget::showMinimized);
    connect(ui->pushButtonClose, &QPushButton::clicked, this, &QWidget::close);
    // The code box keeps Enter for line breaks; Ctrl+Enter signs in from anywhere in the window.
    const QKeySequence signIn(Qt::CTRL | Qt::Key_Enter);
    Keys::inView(this, { signIn, QKeySequence(Qt::CTRL | Qt::Key_Return) }, [this] { ui->pushButtonLogin->click(); });
    Keys::showInToolTip(ui->pushButtonLogin, signIn);
}

VorLogin::~VorLogin() = default;

void VorLogin::showEvent(QShowEvent *event)
{
    if (!event->spontaneous())
        placeOnUsersScreen(this);
    QWidget::showEvent(event);
}

void VorLogin::on_pushButtonLogin_clicked()
{
    // A pasted code may carry line breaks and blanks; they become single blanks, which the decoding skips.
    const QString code = ui->textEdit->toPlainText().simplified();
    auto *thread = new VorThreadLogin(code);
    connect(thread, &VorThreadLogin::loginMessage, this, &VorLogin::loginMessage);
    connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    VorDialog::showWait(tr("登录中"), tr("请稍等..."), this, thread);
}

void VorLogin::loginMessage(QString message)
{
    if (message.isEmpty()) {
        VorData::instance()->mainWindow()->showForSession();
        hide();
        return;
    }
    VorDialog::showMessage(tr("错误"), message, this, tr("确定"));
}
