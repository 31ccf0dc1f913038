// The prelude is compiled with this file's language.
#include "support/prelude.hpp"
