#include "DABCallCause.h"

namespace {
thread_local DABCallCause tCause = {DABCallCause::kNone, 0, 0, 0, 0, nullptr};
}  // namespace

DABCallCause DABCallCause::current() { return tCause; }

DABCallCause::Scope::Scope(const DABCallCause& cause) : mSet(tCause.kind == kNone) {
    if (mSet) tCause = cause;
}

DABCallCause::Scope::~Scope() {
    if (mSet) tCause = DABCallCause{kNone, 0, 0, 0, 0, nullptr};
}
