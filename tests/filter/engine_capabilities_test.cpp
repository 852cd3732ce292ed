// SPDX-License-Identifier: GPL-2.0-or-later
#include "filter/engine_capabilities.h"

#include "filter/filter_fixture.h"
#include "kit/recording_capabilities.h"

namespace {

using namespace kalvio;
using namespace kalvio::test;

class EngineCapabilities : public FilterFixture {
protected:
	EngineCapabilities() { note_engine_capabilities(all_capabilities); }
	~EngineCapabilities() override { set_engine_capabilities(0); }
};

TEST_F(EngineCapabilities, AreWhatTheEngineSaysWhenItIsMade)
{
	set_engine_capabilities(KL_CAPABILITY_FACES | KL_CAPABILITY_BODY);
	create();
	EXPECT_EQ(latest_engine_capabilities(), KL_CAPABILITY_FACES | KL_CAPABILITY_BODY);
	EXPECT_EQ(engine_capabilities(instance().engine.get()), KL_CAPABILITY_FACES | KL_CAPABILITY_BODY);
}

TEST_F(EngineCapabilities, OfTheLatestEngineAreKnownToEverybody)
{
	set_engine_capabilities(KL_CAPABILITY_BODY);
	create();
	EXPECT_EQ(latest_engine_capabilities(), KL_CAPABILITY_BODY);
	set_engine_capabilities(KL_CAPABILITY_FACES);
	EXPECT_EQ(latest_engine_capabilities(), KL_CAPABILITY_BODY);
	note_engine_capabilities(all_capabilities);
	EXPECT_EQ(latest_engine_capabilities(), all_capabilities);
}

TEST_F(EngineCapabilities, AreAllUntilThereIsAnEngineToAsk)
{
	set_engine_capabilities(KL_CAPABILITY_FACES);
	remove_bundle();
	create();
	EXPECT_EQ(latest_engine_capabilities(), all_capabilities);
}

TEST_F(EngineCapabilities, AreNoneWhenTheEngineRefusesToSay)
{
	set_engine_capabilities(KL_ERROR_BUSY);
	create();
	EXPECT_EQ(latest_engine_capabilities(), 0);
}

TEST_F(EngineCapabilities, AreAllOfAnEngineThatCannotBeAsked)
{
	create();
	EXPECT_EQ(engine_capabilities(instance().engine.get(), nullptr),
		  KL_CAPABILITY_FACES | KL_CAPABILITY_PERSON_MATTE | KL_CAPABILITY_BODY);
}

} // namespace
