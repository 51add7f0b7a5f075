#pragma once

#include <QWidget>
#include <memory>

namespace Ui {
class VorLocation;
}

// Tells the user which kind of storage the session uses; exactly one of its two buttons is shown after a
// login and neither before. The buttons are labels only: nothing happens on a click.
class VorLocation : public QWidget
{
    Q_OBJECT
public:
    explicit VorLocation(QWidget *parent = nullptr);
    ~VorLocation() override;

    void setPublicVisible(bool visible);
    void setPrivateVisible(bool visible);

private:
    std::unique_ptr<Ui::VorLocation> ui;
};
