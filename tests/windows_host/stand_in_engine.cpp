// SPDX-License-Identifier: GPL-2.0-or-later
#include "kit/recording_engine.h"

// The recording engine as a DLL of its own, in the place of a closed engine: it shows each picture's negative.
namespace kalvio::test {
namespace {

const bool is_ready = [] {
	set_engine_script({.output = EngineOutput::Invert});
	return true;
}();

} // namespace
} // namespace kalvio::test
