#pragma once

#include <QString>
#include <QWidget>
#include <memory>

namespace Ui {
class VorLogin;
}

// The sign-in window: the user pastes an authorization code and signs in behind a wait dialog.
class VorLogin : public QWidget
{
    Q_OBJECT
public:
    explicit VorLogin(QWidget *parent = nullptr);
    ~VorLogin() override;

    // The code the box holds when the window opens: an object-store code of our own.
    static QString defaultCode();

public slots:
    void on_pushButtonLogin_clicked();
    // The login worker's result: empty on success, otherwise the message to show.
    void loginMessage(QString message);

protected:
    void showEvent(QShowEvent *event) override;

private:
    std::unique_ptr<Ui::VorLogin> ui;
};
