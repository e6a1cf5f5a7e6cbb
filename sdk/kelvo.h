#pragma once

/// Everything that a client of the library needs.

#include "base/localized.h"
#include "base/log.h"
#include "base/string.h"
#include "files/scene_file.h"
#include "sdk/attr_type.h"
#include "sdk/buffer_result.h"
#include "sdk/diagnostic.h"
#include "sdk/eval_ctx.h"
#include "sdk/input.h"
#include "sdk/layout.h"
#include "sdk/lib_info.h"
#include "sdk/node.h"
#include "sdk/node_path.h"
#include "sdk/output.h"
#include "sdk/path_parser.h"
#include "sdk/scene.h"
#include "sdk/scene_diff.h"
#include "sdk/validation.h"
