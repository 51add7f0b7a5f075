#pragma once

#include <QDialog>
#include <memory>

class QMovie;
class QThread;

namespace Ui {
class VorDialog;
}

// The program's one modal dialog: a yes/no question, a message, a wait for a worker thread, or a text input.
class VorDialog : public QDialog
{
    Q_OBJECT
public:
    explicit VorDialog(QWidget *parent = nullptr);
    ~VorDialog() override;

    void setChoice(const QString &title, const QString &text, const QString &yesText, const QString &noText);
    void setMessage(const QString &title, const QString &text, const QString &yesText);
    void setWait(const QString &title, const QString &text, QThread *thread);
    void setRename(const QString &title, const QString &prompt, const QString &text, const QString &yesText,
                   const QString &noText);
    QString renameText() const;

    // Escape and close requests (the window manager's, or close()) end up here.
    void reject() override;

    // Each helper runs a new dialog modally and returns exec()'s value: 1 when confirmed.
    static int showChoice(const QString &title, const QString &text, QWidget *parent, const QString &yesText,
                          const QString &noText);
    static int showMessage(const QString &title, const QString &text, QWidget *parent, const QString &yesText);
    static int showWait(const QString &title, const QString &text, QWidget *parent, QThread *thread);
    static int showRename(const QString &title, const QString &prompt, QWidget *parent, QString &text,
                          const QString &yesText, const QString &noText);

private:
    void showWaitFrame();
    void restartWaitMovie();

    std::unique_ptr<Ui::VorDialog> ui;
    QMovie *m_waitMovie = nullptr;
    bool m_waiting = false;
};
