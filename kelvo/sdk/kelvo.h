#pragma once

/// The former path of kelvo/kelvo.h, for clients that still include it.

#include "kelvo/kelvo.h"
