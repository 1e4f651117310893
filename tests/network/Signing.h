// Signing: a request on its way through a session, as a test watches it.
#pragma once

#include <DVHttpTransport.h>

#include <memory>

struct Signing
{
    std::shared_ptr<DVHttpRequest> request = std::make_shared<DVHttpRequest>();
    int completions = 0;
    DVErrorOr error;

    QByteArray header() const { return request->request.rawHeader("Authorization"); }

    // Handed to the session just now.
    template<typename Session> static std::shared_ptr<Signing> with(Session &session)
    {
        auto signing = std::make_shared<Signing>();
        session.authorizeRequest(signing->request, [signing](const DVErrorOr &outcome) {
            ++signing->completions;
            signing->error = outcome;
        });
        return signing;
    }
};
using SigningPtr = std::shared_ptr<Signing>;
