// DVTransfer: progress of an operation under way, and the way to cancel it.
#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

class DVTransfer;
using DVTransferPtr = std::shared_ptr<DVTransfer>;

// One may accompany several requests that follow each other. Main thread only, but for isCancelled().
// Requests need the object itself no longer than their call: whoever drops it lets them and their progress go
// on. An object that `progress` uses calls cancel() before it dies.
class DVTransfer
{
public:
    // Bytes so far of the request under way, sent and received, and how many there will be (-1: not known).
    // The first never falls. While a body is sent, its answer counts only as far as it is known, so the
    // second may grow. Runs on the main thread, at most 20 times a second and once at the end of each
    // request, not after the completion and not after cancel().
    using Progress = std::function<void(qint64 done, qint64 total)>;

    explicit DVTransfer(Progress progress = {});
    ~DVTransfer();
    DVTransfer(const DVTransfer &) = delete;
    DVTransfer &operator=(const DVTransfer &) = delete;

    // What is under way is aborted and completes with domain "dorvane.network" and
    // QNetworkReply::OperationCanceledError, never from inside this call; what would follow is not sent. An
    // answer that was there already completes as it is: what the server has done is not undone, and whoever
    // waits for it has to know.
    void cancel();
    bool isCancelled() const;

private:
    friend class DVTransferLink;
    struct Private;
    const std::shared_ptr<Private> d;
};
