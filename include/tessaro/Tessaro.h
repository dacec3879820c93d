// Umbrella header of libtessaro: include this one file.
#pragma once

#include "tessaro/Buffer.h"
#include "tessaro/ConfigParam.h"
#include "tessaro/Export.h"
#include "tessaro/Status.h"
#include "tessaro/TessaroFactory.h"
#include "tessaro/TessaroInterface.h"
