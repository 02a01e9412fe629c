// A family that stands on its neighbour and on the standard library.
#include "colour/groups.h"
#include "filter/taps.h"
#include <vector>
