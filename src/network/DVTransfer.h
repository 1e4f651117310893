// DVTransfer: progress of an operation under way, and the way to cancel it.
#pragma once

#include <QtGlobal>

#include <functional>
#include <memory>

class DVTransfer;
using DVTransferPtr = std::shared_ptr<DVTransfer>;

// One may accompany several requests that follow each other. Main thread only, but for isCancelled().
class DVTransfer
{
public:
    // Bytes so far of the request under way, sent and received, and how many there will be (-1: not known).
    // Runs on the main thread, not after the completion.
    using Progress = std::function<void(qint64 done, qint64 total)>;

    explicit DVTransfer(Progress progress = {});
    ~DVTransfer();
    DVTransfer(const DVTransfer &) = delete;
    DVTransfer &operator=(const DVTransfer &) = delete;

    // What is under way is aborted and completes with domain "dorvane.network" and
    // QNetworkReply::OperationCanceledError; what would follow is not sent. What the server has already done
    // is not undone.
    void cancel();
    bool isCancelled() const;

private:
    friend class DVTransferLink;
    struct Private;
    const std::shared_ptr<Private> d;
};
