/* twcommon: the whole public interface. */
#ifndef TWCOMMON_TWCOMMON_H
#define TWCOMMON_TWCOMMON_H

#include "base.h"
#include "comm.h"
#include "config.h"
#include "containers.h"
#include "diag.h"
#include "locale.h"
#include "text.h"
#include "unixnt.h"

#endif
