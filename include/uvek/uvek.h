/* Everything that the library exports. */
#ifndef UVEK_UVEK_H
#define UVEK_UVEK_H

#include "uvek/base.h"
#include "uvek/colour.h"
#include "uvek/filter.h"
#include "uvek/fourier.h"
#include "uvek/geometry.h"
#include "uvek/image.h"
#include "uvek/jpeg.h"
#include "uvek/matrix.h"
#include "uvek/memory.h"
#include "uvek/signal.h"
#include "uvek/statistics.h"
#include "uvek/vision.h"

#endif
