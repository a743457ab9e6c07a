#pragma once

// The JSON value type of the wire, declared only. nlohmann's full header costs seconds per
// translation unit, so the public headers of this folder stop at the forward declaration;
// code that builds or reads values includes <nlohmann/json.hpp> itself.
#include <nlohmann/json_fwd.hpp>
