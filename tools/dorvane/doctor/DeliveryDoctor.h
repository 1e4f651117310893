// DeliveryDoctor: asks a delivery for the strings of one application as a device would.
#pragma once

#include "Step.h"

#include <QString>

#include <optional>

struct DeliveryQuestion
{
    QString baseUrl; // "deliveryCdn" of the option "servers"
    QString project;
    QString appVersion;
    QString locale; // in any form
    QString key;    // base64; null: what is delivered is not opened
    std::optional<QString> string;
    int timeoutMs = 20000; // of each step
};

// Reports each step. Blocks the caller, without an event loop, for a few times the timeout at most.
// Sets the process's delivery server, application version and project.
void examineDelivery(const DeliveryQuestion &question, const StepReport &report);
