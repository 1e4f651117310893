// ProjectApi: what a project is, and the workflows that its translations take.
#pragma once

#include "RestRequest.h"

namespace ProjectApi {

// GET /projects-api/v2/projects/<project>
Answer info(const RestRequest &request);
// GET /workflows-strings-api/v2/projects/<project>/workflows, with what the caller may do in each step.
Answer workflows(const RestRequest &request);

} // namespace ProjectApi
