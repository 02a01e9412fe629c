/* The pieces of a JPEG codec. */
#ifndef UVEK_JPEG_H
#define UVEK_JPEG_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
