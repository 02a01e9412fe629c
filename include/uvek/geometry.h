/* Resize, rotation and warps. */
#ifndef UVEK_GEOMETRY_H
#define UVEK_GEOMETRY_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
