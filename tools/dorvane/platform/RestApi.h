// RestApi: the addresses of the REST API, and whom each lets in.
#pragma once

#include "Catalogue.h"
#include "ContextApi.h"
#include "CredentialSignIn.h"
#include "FilesApi.h"
#include "IssueApi.h"
#include "RestRequest.h"
#include "StatusApi.h"
#include "TokenIssuer.h"
#include "TranslationStore.h"

#include <QHttpServerRequest>
#include <QStringList>

#include <functional>
#include <vector>

class RestApi
{
public:
    RestApi(TokenIssuer &issuer, Catalogues &catalogues, TranslationStore &translations,
            ReceivedFolder &folder);

    // Whether this answers to a path, given in segments.
    static bool hasPath(const QStringList &path);
    Answer answer(const QHttpServerRequest &request, const QStringList &path, const Project &project);

private:
    enum Admitted { Everybody, SignedIn, UsersOnly };
    struct Route
    {
        QHttpServerRequest::Method method;
        QStringList pattern; // "{project}" and "{locale}" stand for any segment
        Admitted admitted;
        std::function<Answer(const RestRequest &)> handler;
    };

    void addRoutes();
    void add(QHttpServerRequest::Method method, const QString &path, Admitted admitted,
             std::function<Answer(const RestRequest &)> handler);
    Answer call(const Route &route, const QHttpServerRequest &request, const QStringList &path,
                const Project &project);

    TokenIssuer &m_issuer;
    CredentialSignIn m_credentials;
    FilesApi m_files;
    StatusApi m_statuses;
    IssueApi m_issues;
    ContextApi m_contexts;
    std::vector<Route> m_routes;
};
