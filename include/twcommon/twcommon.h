/* twcommon: the whole public interface. */
#ifndef TWCOMMON_TWCOMMON_H
#define TWCOMMON_TWCOMMON_H

#include "base.h"
#include "containers.h"
#include "text.h"

#endif
