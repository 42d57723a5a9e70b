// What an answer says of itself, as its plan has it.
#pragma once

#include "simcam/httpserver.h"

namespace simcam {

// Changes status, headers and body by the plan in the answer. How the bytes travel is left to the server.
void ShapeAnswer(HttpAnswer& answer, const HttpRequest& request);

}  // namespace simcam
