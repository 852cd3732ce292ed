// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include "engine.h"
#include "engine_fixture.h"
#include "made_face.h"

#include <memory>

namespace kalvio::engine::testing {

// An engine with its nets, and a painter of faces that these find.
class PaintedFaceTest : public NetEngineTest {
protected:
	void SetUp() override
	{
		NetEngineTest::SetUp();
		if (!IsSkipped())
			painter = std::make_unique<FacePainter>(engine->nets->head);
	}

	std::unique_ptr<FacePainter> painter;
};

} // namespace kalvio::engine::testing
