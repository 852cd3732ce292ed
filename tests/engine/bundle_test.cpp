// SPDX-License-Identifier: GPL-2.0-or-later
#include "bundle.h"
#include "engine_fixture.h"

#include <zip.h>

namespace kalvio::engine::testing {
namespace {

class BundleTest : public ::testing::Test {
protected:
	ReadResult open(const std::string &path, const char *kind = "filter")
	{
		return bundle.open(path.c_str(), kind);
	}

	std::string shipped_like() { return scratch.write_bundle("good.kld", "filter", 1, {{"a/b.bin", {1, 2, 3}}}); }

	ScratchFolder scratch;
	Bundle bundle;
};

TEST_F(BundleTest, OpensAndReadsWhatWasPacked)
{
	ASSERT_TRUE(open(shipped_like()));
	EXPECT_EQ(bundle.name(), "test");
	Bytes content;
	ASSERT_TRUE(bundle.read("a/b.bin", content));
	EXPECT_EQ(content, (Bytes{1, 2, 3}));
}

TEST_F(BundleTest, AFileThatIsNotInItIsReported)
{
	ASSERT_TRUE(open(shipped_like()));
	Bytes content;
	EXPECT_EQ(bundle.read("c.bin", content).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, PackingTwiceGivesTheSameBytes)
{
	const std::string first = read_text(shipped_like());
	EXPECT_EQ(first, read_text(shipped_like()));
	EXPECT_FALSE(first.empty());
}

TEST_F(BundleTest, AMissingFileIsAFileError)
{
	EXPECT_EQ(open(scratch.path("absent.kld")).status, KL_ERROR_FILE);
}

TEST_F(BundleTest, AFolderIsAFileError)
{
	std::filesystem::create_directory(scratch.place("folder.kld"));
	EXPECT_EQ(open(scratch.path("folder.kld")).status, KL_ERROR_FILE);
}

TEST_F(BundleTest, AnEmptyFileIsAFormatError)
{
	EXPECT_EQ(open(scratch.write("empty.kld", std::string())).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, EveryTruncationIsRefused)
{
	const std::string whole = read_text(shipped_like());
	for (size_t bytes = 1; bytes < whole.size(); ++bytes)
		EXPECT_FALSE(open(scratch.write("cut.kld", whole.substr(0, bytes)))) << bytes;
}

TEST_F(BundleTest, NoDamagedByteCrashesOrChangesContentUnnoticed)
{
	const std::string whole = read_text(shipped_like());
	for (size_t index = 0; index < whole.size(); ++index) {
		std::string damaged = whole;
		damaged[index] = static_cast<char>(damaged[index] ^ 0x41);
		Bundle other;
		if (!other.open(Bytes(damaged.begin(), damaged.end()), "filter"))
			continue;
		Bytes content;
		if (other.read("a/b.bin", content)) {
			EXPECT_EQ(content, (Bytes{1, 2, 3})) << index;
		}
	}
}

TEST_F(BundleTest, AnotherKindIsRefused)
{
	EXPECT_EQ(open(scratch.write_bundle("a.kld", "sticker")).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, AnotherVersionIsRefused)
{
	EXPECT_EQ(open(scratch.write_bundle("a.kld", "filter", 2)).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, AMissingManifestIsRefused)
{
	write_bundle(scratch.place("a.kld"), {{"other.json", {'{', '}'}}});
	EXPECT_EQ(open(scratch.path("a.kld")).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, ManifestsThatAreNoManifestAreRefused)
{
	for (const std::string text : {"", "{", "[]", "null", "{\"kind\":1,\"format_version\":1,\"name\":\"x\"}",
				       "{\"kind\":\"filter\",\"format_version\":\"1\",\"name\":\"x\"}",
				       "{\"kind\":\"filter\",\"format_version\":1.5,\"name\":\"x\"}",
				       "{\"kind\":\"filter\",\"format_version\":1}"}) {
		write_bundle(scratch.place("a.kld"), {{"manifest.json", Bytes(text.begin(), text.end())}});
		EXPECT_EQ(open(scratch.path("a.kld")).status, KL_ERROR_FORMAT) << text;
	}
}

TEST_F(BundleTest, AManifestThatIsNestedTooDeeplyIsRefused)
{
	const auto status_at = [&](size_t depth) {
		const std::string text = R"({"kind":"filter","format_version":1,"name":"test","deep":)" +
					 std::string(depth, '[') + std::string(depth, ']') + "}";
		write_bundle(scratch.place("a.kld"), {{"manifest.json", Bytes(text.begin(), text.end())}});
		return open(scratch.path("a.kld")).status;
	};
	EXPECT_EQ(status_at(20), KL_OK);
	EXPECT_EQ(status_at(40), KL_ERROR_FORMAT);
	EXPECT_EQ(status_at(100'000), KL_ERROR_FORMAT);
}

TEST_F(BundleTest, NamesThatLeaveTheBundleAreRefused)
{
	for (const std::string name : {"../x", "a/../../x", "/etc/x", "C:/x", "a\\b", "a//b", "./x", "a/."}) {
		const std::string path = scratch.write_bundle("a.kld", "filter", 1, {{name, {1}}});
		EXPECT_EQ(open(path).status, KL_ERROR_FORMAT) << name;
	}
}

TEST_F(BundleTest, AnOverlongNameIsRefused)
{
	EXPECT_FALSE(open(scratch.write_bundle("a.kld", "filter", 1, {{std::string(200, 'x'), {1}}})));
}

TEST_F(BundleTest, AFileThatUnpacksTooLargeIsRefusedUnread)
{
	const std::string path =
		scratch.write_bundle("bomb.kld", "filter", 1, {{"zeros.bin", Bytes(BundleLimits::entry_bytes + 1)}});
	ASSERT_LT(std::filesystem::file_size(scratch.place("bomb.kld")), 200000U);
	EXPECT_EQ(open(path).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, FilesThatAreTooLargeTogetherAreRefused)
{
	std::vector<BundleFile> files;
	for (int number = 0; number < 4; ++number)
		files.push_back({std::to_string(number), Bytes(BundleLimits::entry_bytes)});
	EXPECT_EQ(open(scratch.write_bundle("bomb.kld", "filter", 1, std::move(files))).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, TooManyFilesAreRefused)
{
	std::vector<BundleFile> files;
	for (int number = 0; number < BundleLimits::entries; ++number)
		files.push_back({std::to_string(number), {1}});
	EXPECT_EQ(open(scratch.write_bundle("many.kld", "filter", 1, std::move(files))).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, ALinkIsRefused)
{
	const std::string path = shipped_like();
	zip_t *archive = zip_open(path.c_str(), 0, nullptr);
	ASSERT_NE(archive, nullptr);
	const int64_t index = zip_name_locate(archive, "a/b.bin", 0);
	zip_file_set_external_attributes(archive, static_cast<uint64_t>(index), 0, ZIP_OPSYS_UNIX, 0120777U << 16);
	ASSERT_EQ(zip_close(archive), 0);
	EXPECT_EQ(open(path).status, KL_ERROR_FORMAT);
}

TEST_F(BundleTest, AStatedSizeThatIsNotTrueIsNoticed)
{
	std::string bytes = read_text(scratch.write_bundle("a.kld", "filter", 1, {{"b.bin", Bytes(1000, 7)}}));
	// The uncompressed size stands in the local header and in the directory; a lie has to be told in both.
	for (size_t index = 0; index + 4 < bytes.size(); ++index) {
		if (bytes.compare(index, 4, std::string("\xE8\x03\0\0", 4)) == 0)
			bytes.replace(index, 4, std::string("\x10\0\0\0", 4));
	}
	Bundle other;
	Bytes content;
	const bool refused = !other.open(Bytes(bytes.begin(), bytes.end()), "filter") || !other.read("b.bin", content);
	EXPECT_TRUE(refused);
}

} // namespace
} // namespace kalvio::engine::testing
