#include "runningthread.h"

#include <wx/thread.h>

RunningThread::RunningThread(wxThread& thread) : thread_(&thread) {}

void RunningThread::stop() {
    const std::lock_guard<std::mutex> lock(mutex_);
    if (thread_)
        thread_->Delete();
}

void RunningThread::ends() {
    const std::lock_guard<std::mutex> lock(mutex_);
    thread_ = nullptr;
}
