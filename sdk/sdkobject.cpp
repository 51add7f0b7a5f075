#include "sdk/sdkobject.h"

void SdkObject::applyServerState(const ServerState &newState)
{
    state = newState;
    emit serverStateChanged(state);
}
