#include "ui/vordialog.h"
#include "ui_vordialog.h"

#include "app/movefilter.h"

#include <QMovie>
#include <QThread>

namespace {

const QSize WaitMovieSize(64, 64);

// The twice-size rendering on a screen scaled above 100 %, so that the animation stays sharp there.
QString waitMovieFile(qreal devicePixelRatio)
{
    return devicePixelRatio > 1 ? QStringLiteral(":/img/WaitMovie@2x.gif") : QStringLiteral(":/img/WaitMovie.gif");
}

} // namespace

VorDialog::VorDialog(QWidget *parent)
    : QDialog(parent)
    , ui(std::make_unique<Ui::VorDialog>())
{
    ui->setupUi(this);
    makeFrameless(this, ui->widgetDialogTitle);
}

VorDialog::~VorDialog() = default;

void VorDialog::setChoice(const QString &title, const QString &text, const QString &yesText, const QString &noText)
{
    ui->stackedWidget->setCurrentWidget(ui->pageChoice);
    ui->labelDialogTitle->setText(title);
    ui->labelMsg->setText(text);
    ui->pushButtonYes->setText(yesText);
    ui->pushButtonNo->setText(noText);
}

void VorDialog::setMessage(const QString &title, const QString &text, const QString &yesText)
{
    ui->stackedWidget->setCurrentWidget(ui->pageChoice);
    ui->labelDialogTitle->setText(title);
    ui->labelMsg->setText(text);
    ui->pushButtonYes->setText(yesText);
    ui->pushButtonNo->hide();
}

void VorDialog::setWait(const QString &title, const QString &text, QThread *thread)
{
    ui->stackedWidget->setCurrentWidget(ui->pageWait);
    ui->labelDialogTitle->setText(title);
    ui->labelWaitMsg->setText(text);
    ui->widgetDialogButton->hide();

    m_waitMovie = new QMovie(waitMovieFile(ui->labelWait->devicePixelRatioF()), QByteArray(), this);
    connect(m_waitMovie, &QMovie::frameChanged, this, &VorDialog::showWaitFrame);
    m_waitMovie->start();
    ui->pushButtonClose->hide(); // nothing may interrupt the worker
    m_waiting = true;

    if (thread) {
        connect(thread, &QThread::finished, thread, &QObject::deleteLater);
        connect(thread, &QThread::finished, this, &QDialog::accept);
        thread->start();
    }
}

// Each frame in the pixels of the screen the dialog is on now: a dialog moved to a screen of another scale
// takes the rendering made for that one.
void VorDialog::showWaitFrame()
{
    const qreal ratio = ui->labelWait->devicePixelRatioF();
    if (m_waitMovie->fileName() != waitMovieFile(ratio)) {
        // Not from within the movie's own signal.
        QMetaObject::invokeMethod(this, &VorDialog::restartWaitMovie, Qt::QueuedConnection);
        return;
    }
    QPixmap frame
        = m_waitMovie->currentPixmap().scaled(WaitMovieSize * ratio, Qt::KeepAspectRatio, Qt::SmoothTransformation);
    frame.setDevicePixelRatio(ratio);
    ui->labelWait->setPixmap(frame);
}

void VorDialog::restartWaitMovie()
{
    m_waitMovie->stop();
    m_waitMovie->setFileName(waitMovieFile(ui->labelWait->devicePixelRatioF()));
    m_waitMovie->start();
}

void VorDialog::setRename(const QString &title, const QString &prompt, const QString &text, const QString &yesText,
                          const QString &noText)
{
    ui->stackedWidget->setCurrentWidget(ui->pageRename);
    ui->labelDialogTitle->setText(title);
    ui->labelRename->setText(prompt);
    ui->lineEditRename->setText(text);
    ui->pushButtonYes->setText(yesText);
    ui->pushButtonNo->setText(noText);
    ui->lineEditRename->setFocus();
}

QString VorDialog::renameText() const
{
    return ui->lineEditRename->text();
}

void VorDialog::reject()
{
    // A wait ends only when its worker finishes: the caller goes on as if the work were done (the login
    // window back while the back end is still being deleted, a second sign-in beside the first).
    if (!m_waiting)
        QDialog::reject();
}

int VorDialog::showChoice(const QString &title, const QString &text, QWidget *parent, const QString &yesText,
                          const QString &noText)
{
    VorDialog dialog(parent);
    dialog.setChoice(title, text, yesText, noText);
    return dialog.exec();
}

int VorDialog::showMessage(const QString &title, const QString &text, QWidget *parent, const QString &yesText)
{
    VorDialog dialog(parent);
    dialog.setMessage(title, text, yesText);
    return dialog.exec();
}

int VorDialog::showWait(const QString &title, const QString &text, QWidget *parent, QThread *thread)
{
    VorDialog dialog(parent);
    dialog.setWait(title, text, thread);
    return dialog.exec();
}

int VorDialog::showRename(const QString &title, const QString &prompt, QWidget *parent, QString &text,
                          const QString &yesText, const QString &noText)
{
    VorDialog dialog(parent);
    dialog.setRename(title, prompt, text, yesText, noText);
    const int result = dialog.exec();
    text = dialog.renameText();
    return result;
}
