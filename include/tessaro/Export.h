// Symbol visibility for libtessaro: everything is hidden unless marked here.
#pragma once

#if defined(_WIN32)
#define TESSARO_EXPORT
#else
#define TESSARO_EXPORT __attribute__((visibility("default")))
#endif
