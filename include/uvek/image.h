/* Image data movement and pixel arithmetic. */
#ifndef UVEK_IMAGE_H
#define UVEK_IMAGE_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
