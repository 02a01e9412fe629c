/* Fourier transforms, convolution and correlation. */
#ifndef UVEK_FOURIER_H
#define UVEK_FOURIER_H

#include "uvek/base.h"

UVEK_BEGIN

UVEK_END

#endif
