// The second file of its name.
#include "uvek/filter.h"
