#pragma once

#include "i18n/trstring.h"
#include "tavo/mimetypes.h"
#include "tavo/tavokeys.h"
#include "tavo/tavomedia.h"
#include "tavo/tavonamematcher.h"
#include "tavo/tavoroles.h"
#include "tavo/tavovalue.h"
