// Umbrella header of libtessaro: include this one file.
#pragma once

#include "tessaro/Buffer.h"
#include "tessaro/ClientBuffer.h"
#include "tessaro/ConfigParam.h"
#include "tessaro/Export.h"
#include "tessaro/FrameIndex.h"
#include "tessaro/ProcessorKeys.h"
#include "tessaro/RawFormats.h"
#include "tessaro/Status.h"
#include "tessaro/TessaroFactory.h"
#include "tessaro/TessaroInterface.h"
