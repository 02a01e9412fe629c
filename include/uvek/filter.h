/* Spatial filters. */
#ifndef UVEK_FILTER_H
#define UVEK_FILTER_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
