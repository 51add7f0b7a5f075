#include "model/vorlogin.h"

VorLogin::VorLogin(QWidget *parent)
    : QWidget(parent)
{
}
