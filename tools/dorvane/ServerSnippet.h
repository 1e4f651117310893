// ServerSnippet: the configuration that makes a web server deliver from a tree.
#pragma once

#include <QString>

// What to fill into docs/operating/nginx.conf, apache.conf or Caddyfile, which are built into the tool.
struct ServerSnippet
{
    QString server; // "nginx", "apache" or "caddy"
    QString root;   // the delivery tree, an absolute path
    QString listen; // "8080" or "127.0.0.1:8080"
    QString log;    // null: where the server's Debian package keeps its logs
    qint64 expiresSeconds = 3600;

    // Null when the configuration can be written; else what is wrong with which value.
    QString problem() const;
    QString text() const;
};
