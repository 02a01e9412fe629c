/* One-dimensional signal processing. */
#ifndef UVEK_SIGNAL_H
#define UVEK_SIGNAL_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
