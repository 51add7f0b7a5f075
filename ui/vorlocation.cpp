#include "ui/vorlocation.h"
#include "ui_vorlocation.h"

VorLocation::VorLocation(QWidget *parent)
    : QWidget(parent)
    , ui(std::make_unique<Ui::VorLocation>())
{
    ui->setupUi(this);
    // Nothing is known about the session until a login reports it.
    ui->pushButtonPublic->setVisible(false);
    ui->pushButtonPrivate->setVisible(false);
}

VorLocation::~VorLocation() = default;

void VorLocation::setPublicVisible(bool visible)
{
    ui->pushButtonPublic->setVisible(visible);
}

void VorLocation::setPrivateVisible(bool visible)
{
    ui->pushButtonPrivate->setVisible(visible);
}
