// SPDX-License-Identifier: GPL-2.0-or-later
#include "update/dismissal.h"

#include "kit/log_capture.h"
#include "kit/scratch.h"

#include <gtest/gtest.h>

#include <string>
#include <sys/fsuid.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kalvio::test {

namespace {

constexpr uid_t nobody = 65534;

// Access to files as somebody who is not the superuser, for this thread.
class OrdinaryUser {
public:
	OrdinaryUser() : before_(static_cast<uid_t>(geteuid() == 0 ? setfsuid(nobody) : setfsuid(geteuid()))) {}
	~OrdinaryUser() { setfsuid(before_); }
	OrdinaryUser(const OrdinaryUser &) = delete;
	OrdinaryUser &operator=(const OrdinaryUser &) = delete;

private:
	uid_t before_;
};

class ReadOnlyDismissalTest : public testing::Test {
protected:
	// Also the superuser's things, when the tests run as one.
	void give_away(const std::string &path, mode_t mode) const
	{
		const uid_t owner = geteuid() == 0 ? nobody : geteuid();
		ASSERT_EQ(chown(path.c_str(), owner, static_cast<gid_t>(-1)), 0);
		ASSERT_EQ(chmod(path.c_str(), mode), 0);
	}

	void TearDown() override { give_away(folder.path(), S_IRWXU); }

	ScratchFolder folder;
	LogCapture log;
	const std::string file = folder.write("update_dismiss.json", R"({"version": "1.0.13", "until": 5})");
};

} // namespace

TEST_F(ReadOnlyDismissalTest, IsReadAndKeptAsItIs_WhenItsFileCannotBeWritten)
{
	give_away(file, S_IRUSR);
	give_away(folder.path(), S_IRUSR | S_IXUSR);
	const OrdinaryUser user;
	EXPECT_EQ(load_dismissal(file).version, "1.0.13");
	EXPECT_FALSE(save_dismissal(file, {"1.0.14", 6}));
	EXPECT_EQ(load_dismissal(file).version, "1.0.13");
	EXPECT_EQ(load_dismissal(file).until, 5);
}

TEST_F(ReadOnlyDismissalTest, IsNotSaved_WhenItsFolderCannotBeMade)
{
	give_away(folder.path(), S_IRUSR | S_IXUSR);
	const OrdinaryUser user;
	EXPECT_FALSE(save_dismissal(folder.file("config/update_dismiss.json"), {"1.0.14", 6}));
}

TEST_F(ReadOnlyDismissalTest, IsNone_WhenItsFileMayNotBeRead)
{
	give_away(file, 0);
	give_away(folder.path(), S_IRUSR | S_IXUSR);
	const OrdinaryUser user;
	EXPECT_EQ(load_dismissal(file).version, "");
	EXPECT_EQ(load_dismissal(file).until, 0);
}

} // namespace kalvio::test
