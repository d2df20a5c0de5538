#include "client/send_handles.h"

#include <new>

#include "platform/never_destroyed.h"
#include "platform/process.h"
#include "platform/thread_safety.h"
#include "transport/curl_use.h"

namespace SMTPClientNS {
namespace {

struct AbandonedHandles {
    CMutex mutex;
    std::vector<CURL *> handles GUARDED_BY(mutex);
};

/// For a connection that must not be touched: the exit handlers of libcurl's libraries may have
/// run, or a parent process still uses it. The handle is kept until the process is gone, so that
/// leak checkers find it.
void Abandon(CurlEasy handle) noexcept {
    static CNeverDestroyed<AbandonedHandles> abandoned;
    AbandonedHandles &keeper = abandoned.Get();
    const CLock lock(keeper.mutex);
    try {
        keeper.handles.push_back(handle.release());
    } catch (const std::bad_alloc &) {
        // Without memory for the list the handle is leaked, which does no harm.
    }
}

}  // namespace

SendHandles::~SendHandles() {
    ReleaseSendHandles(*this);
}

void MakeSendHandles(SendHandles &handles) {
    const CCurlUse use;
    if (!use.IsGranted()) {
        return;
    }
    handles.generation = ForkGeneration();
    handles.easyHandle = MakeEasyHandle();
    handles.rootMime = MakeMime(handles.easyHandle);
    handles.bodyMime = MakeMime(handles.easyHandle);
    handles.imageMime = MakeMime(handles.easyHandle);
    handles.attachmentMime = MakeMime(handles.easyHandle);
}

void ReleaseSendHandles(SendHandles &handles) {
    if (handles.easyHandle == nullptr) {
        return;
    }
    const CCurlUse use;
    handles.recipientList.reset();
    handles.headerList.reset();
    handles.bodyMime.reset();
    handles.imageMime.reset();
    handles.attachmentMime.reset();
    handles.rootMime.reset();
    if (!use.IsGranted() || handles.generation != ForkGeneration()) {
        Abandon(std::move(handles.easyHandle));
    }
    handles.easyHandle.reset();
    handles.senderAddress.clear();
    handles.files.clear();
    handles.encodedFiles.clear();
    handles.sharesTrust = false;
    handles.trace = {};
}

}  // namespace SMTPClientNS
