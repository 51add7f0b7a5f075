#include "model/vorthreadlogin.h"

#include "ops/vorsdk.h"

VorThreadLogin::VorThreadLogin(const QString &code, QObject *parent)
    : QThread(parent)
    , m_code(code)
{
}

void VorThreadLogin::run()
{
    const QString message = VorSdk::instance()->login(m_code);
    QThread::msleep(500);
    emit loginMessage(message);
}
