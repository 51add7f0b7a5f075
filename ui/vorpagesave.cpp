#include "ui/vorpagesave.h"

VorPageSave::VorPageSave(QWidget *parent)
    : QWidget(parent)
{
}

void VorPageSave::setPath(const QString &) { }
void VorPageSave::dataUpdateSaveFileInfo() { }
void VorPageSave::dataUpdateLocation(bool, bool) { }
