// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <sys/stat.h>

// Files that are none, as POSIX systems have them.
namespace kalvio::engine::testing {
namespace {

class SpecialFiles : public EngineTest {
protected:
	void expect_refused(const std::string &path)
	{
		for (const auto load : {kl_set_filter, kl_set_sticker, kl_set_3d_sticker, kl_set_virtual_background})
			EXPECT_EQ(load(engine.get(), path.c_str()), KL_ERROR_FILE);
		const kl_engine_config config = {0, 0, nullptr, path.c_str(), "org.test", 0};
		EXPECT_EQ(kl_engine_create(&config), nullptr);
	}
};

TEST_F(SpecialFiles, NoLoaderWaitsForAPipe)
{
	ASSERT_EQ(::mkfifo(scratch.path("pipe").c_str(), 0600), 0);
	expect_refused(scratch.path("pipe"));
}

TEST_F(SpecialFiles, NoLoaderReadsADeviceForEver)
{
	expect_refused("/dev/zero");
}

} // namespace
} // namespace kalvio::engine::testing
