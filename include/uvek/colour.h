/* Video-range YCbCr, gray and HSV. */
#ifndef UVEK_COLOUR_H
#define UVEK_COLOUR_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
