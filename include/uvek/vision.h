/* Image pyramids and optical flow. */
#ifndef UVEK_VISION_H
#define UVEK_VISION_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
