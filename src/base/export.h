/*
 * Export helpers. An alias gives one entry point two exported names: on
 * Windows the export table (twcommon.def) says NAME = TARGET; elsewhere the
 * linker aliases the symbol.
 */
#ifndef TW_BASE_EXPORT_H
#define TW_BASE_EXPORT_H

#include "twcommon/base.h"

#if defined(_WIN32)
#  define TW_EXPORT_ALIAS(ret, name, target, params)
#else
#  define TW_EXPORT_ALIAS(ret, name, target, params) \
     extern "C" TW_API ret name params __attribute__((alias(#target)));
#endif

#endif
