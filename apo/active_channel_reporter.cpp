#include "apo/active_channel_reporter.h"

namespace quorvel {

DWORD ActiveChannelReporter::Start() {
    if (thread) return ERROR_SUCCESS;
    if (!stopEvent) stopEvent.Reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
    if (!stopEvent) return GetLastError();
    ResetEvent(stopEvent.Get());
    thread.Reset(CreateThread(nullptr, 0, Run, this, 0, nullptr));
    return thread ? ERROR_SUCCESS : GetLastError();
}

void ActiveChannelReporter::Stop() {
    if (!thread) return;
    SetEvent(stopEvent.Get());
    WaitForSingleObject(thread.Get(), INFINITE);
    thread.Reset();
}

DWORD WINAPI ActiveChannelReporter::Run(void* reporter) {
    auto& self = *static_cast<ActiveChannelReporter*>(reporter);
    while (WaitForSingleObject(self.stopEvent.Get(), kPeriodMs) == WAIT_TIMEOUT)
        self.ReportAll();
    self.ReportAll();
    return 0;
}

void ActiveChannelReporter::ReportAll() {
    while (const auto mask = masks.Take())
        report(*mask);
}

}  // namespace quorvel
