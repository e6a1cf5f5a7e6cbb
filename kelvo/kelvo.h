#pragma once

/// Everything that a client of the library needs.

#include "kelvo/base/localized.h"
#include "kelvo/base/log.h"
#include "kelvo/base/string.h"
#include "kelvo/files/scene_file.h"
#include "kelvo/sdk/attr_type.h"
#include "kelvo/sdk/buffer_result.h"
#include "kelvo/sdk/diagnostic.h"
#include "kelvo/sdk/eval_ctx.h"
#include "kelvo/sdk/input.h"
#include "kelvo/sdk/layout.h"
#include "kelvo/sdk/lib_info.h"
#include "kelvo/sdk/node.h"
#include "kelvo/sdk/node_path.h"
#include "kelvo/sdk/output.h"
#include "kelvo/sdk/path_parser.h"
#include "kelvo/sdk/scene.h"
#include "kelvo/sdk/scene_diff.h"
#include "kelvo/sdk/validation.h"
