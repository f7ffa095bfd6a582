// The independent codec's headers are C, and each needs what an earlier one declares.
#pragma once

// clang-format off
extern "C" {
#include <osmocom/gsm/protocol/gsm_03_40.h>
#include <osmocom/gsm/protocol/gsm_04_11.h>
#include <osmocom/gsm/gsm0411_utils.h>
#include <osmocom/gsm/gsm48_ie.h>
#include <osmocom/gsm/gsm_utils.h>
}
// clang-format on
