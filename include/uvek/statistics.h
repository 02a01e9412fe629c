/* Image statistics. */
#ifndef UVEK_STATISTICS_H
#define UVEK_STATISTICS_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
