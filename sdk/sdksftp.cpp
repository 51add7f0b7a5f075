#include "sdk/sdksftp.h"

#include <libssh2.h>

SdkSftp::SdkSftp(QObject *parent)
    : SdkObject(parent)
{
}

int SdkSftp::init()
{
    return libssh2_init(0);
}

void SdkSftp::exit()
{
    libssh2_exit();
}
