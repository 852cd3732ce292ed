// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine_fixture.h"

#include <sys/stat.h>
#include <unistd.h>

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

TEST_F(SpecialFiles, ALogThatAnotherUserMadeIsNotWrittenTo)
{
	if (::geteuid() != 0)
		GTEST_SKIP() << "only root can give a file to another user";
	const std::string path = scratch.write("foreign.log", std::string("foreign"));
	constexpr uid_t nobody = 65534;
	ASSERT_EQ(::chown(path.c_str(), nobody, nobody), 0);
	const kl_log_config log = {0, 1, 2, 0, path.c_str()};
	EXPECT_EQ(kl_set_log_config(&log), KL_OK);
	EXPECT_NE(create(), nullptr);
	EXPECT_EQ(read_text(path), "foreign");
}

} // namespace
} // namespace kalvio::engine::testing
