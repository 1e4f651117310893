// CredentialSignIn: tokens for an application's API credentials, and the ping of whoever is signed in.
#pragma once

#include "RestRequest.h"
#include "TokenIssuer.h"

class CredentialSignIn
{
public:
    explicit CredentialSignIn(TokenIssuer &issuer)
        : m_issuer(issuer)
    {}

    // POST /auth-api/v2/authenticate and .../authenticate/refresh: JSON in, tokens in the envelope out.
    Answer authenticate(const RestRequest &request);
    Answer refresh(const RestRequest &request);

private:
    TokenIssuer &m_issuer;
};
