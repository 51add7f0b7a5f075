#include "ui/vorpagetask.h"

VorPageTask::VorPageTask(QWidget *parent)
    : QWidget(parent)
{
}

void VorPageTask::dataUpdateTaskInfo() { }
void VorPageTask::dataUpdateLocation(bool, bool) { }
