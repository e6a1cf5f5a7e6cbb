#pragma once

/// The former place of kelvo/kelvo.h, for clients that include it from there.

#include "kelvo/kelvo.h"
