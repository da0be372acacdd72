#include "RecordingSysCtrlListener.h"

#include "SessionRecorder.h"

RecordingSysCtrlListener::RecordingSysCtrlListener(android::SysCtrlManagerListenerBase* inner) : mInner(inner) {}

void RecordingSysCtrlListener::onSuspend() {
    SessionRecorder* r = SessionRecorder::get();
    const uint64_t token = r->beginEvent("sys suspend");
    mInner->onSuspend();
    r->endEvent(token);
}

void RecordingSysCtrlListener::onResume() {
    SessionRecorder* r = SessionRecorder::get();
    const uint64_t token = r->beginEvent("sys resume");
    mInner->onResume();
    r->endEvent(token);
}

// Not steps of a replay: the service ignores them.
void RecordingSysCtrlListener::onPowerOff() { mInner->onPowerOff(); }
void RecordingSysCtrlListener::onPowerOn() { mInner->onPowerOn(); }
void RecordingSysCtrlListener::onShutdown() { mInner->onShutdown(); }
void RecordingSysCtrlListener::onReboot() { mInner->onReboot(); }
