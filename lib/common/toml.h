// The TOML library, as all of the product uses it: errors are results, not exceptions.
#pragma once

#define TOML_EXCEPTIONS 0
#include <toml++/toml.h>
