// Codings of a body in transit.
#pragma once

#include <Dorvane/DVError.h>

struct DVHttpResponse;

// Undoes the gzip codings of "Content-Encoding" (RFC 9110, 8.4.1). A body whose coding is announced but
// that is not gzip data stays as it is: servers announce it for every name that ends in "gz". More than
// `maximumSize` bytes are an error.
DVErrorOr dv_decodeContent(DVHttpResponse *response, qint64 maximumSize);
