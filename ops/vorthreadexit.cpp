#include "ops/vorthreadexit.h"

#include "ops/vorsdk.h"

void VorThreadExit::run()
{
    VorSdk::instance()->exit();
    QThread::msleep(500);
}
