#include "sdk/sdktarn.h"

SdkTarn::SdkTarn(QObject *parent)
    : SdkObject(parent)
{
}
