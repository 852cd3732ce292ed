// SPDX-License-Identifier: GPL-2.0-or-later
#include "engine.h"
#include "engine_fixture.h"
#include "image_writer.h"
#include "jpeg_files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <future>
#include <mutex>
#include <thread>

// A background picture from the choice to the frame: what is answered at once, and what the loader's thread does later.
namespace kalvio::engine::testing {
namespace {

using Pixel = std::array<uint8_t, 4>;

constexpr Pixel screen = {48, 172, 66, 255};
constexpr Pixel blue = {30, 60, 190, 255};
constexpr Pixel red = {200, 30, 40, 255};
constexpr Pixel nothing = {0, 0, 0, 0}; // the screen, cut out, with no foreground in sight
constexpr int32_t long_enough_ms = 60'000;

Image plain_image(int width, int height, Pixel color)
{
	Image image;
	image.resize(width, height);
	for (int y = 0; y < height; ++y) {
		for (int x = 0; x < width; ++x)
			std::copy_n(color.data(), 4, image.pixel(x, y));
	}
	return image;
}

Image noise_image(int width, int height)
{
	Image image;
	image.resize(width, height);
	image.pixels = noise_picture(width, height, 5).bytes;
	return image;
}

// Keeps the loader's thread busy until it is released.
class LoaderHold {
public:
	LoaderHold() : loader_(Loader::acquire())
	{
		loader_->submit([gate = gate_.get_future().share()] { gate.wait(); });
	}
	~LoaderHold() { release(); }
	LoaderHold(const LoaderHold &) = delete;
	LoaderHold &operator=(const LoaderHold &) = delete;

	void release()
	{
		if (!std::exchange(released_, true))
			gate_.set_value();
	}

	// Returns when everything that was submitted before has run.
	void release_and_drain()
	{
		release();
		const auto done = std::make_shared<std::promise<void>>();
		loader_->submit([done] { done->set_value(); });
		done->get_future().wait();
	}

private:
	std::shared_ptr<Loader> loader_;
	std::promise<void> gate_;
	bool released_ = false;
};

// What a host's callback received.
class Events {
public:
	struct Item {
		int32_t code;
		std::string message;
		std::thread::id thread;
	};

	static void receive(void *user_data, int32_t code, const char *message)
	{
		auto *events = static_cast<Events *>(user_data);
		const std::lock_guard lock(events->mutex_);
		if (code == KL_EVENT_RESOURCE_FAILED)
			events->failures_.push_back({code, message, std::this_thread::get_id()});
	}

	std::vector<Item> failures()
	{
		const std::lock_guard lock(mutex_);
		return failures_;
	}

private:
	std::mutex mutex_;
	std::vector<Item> failures_;
};

class BackgroundLoading : public EngineTest {
protected:
	BackgroundLoading() { prepare(engine.get()); }

	void prepare(kl_engine *other)
	{
		kl_set_chroma_key(other, 0);
		kl_set_chroma_key_similarity(other, 0.4F);
		kl_set_chroma_key_smoothness(other, 0.08F);
		kl_engine_set_event_callback(other, Events::receive, &events);
	}

	std::string write(const std::string &name, Pixel color)
	{
		write_image(scratch.place(name), plain_image(64, 36, color));
		return scratch.path(name);
	}

	// Its head is that of a good picture.
	std::string write_damaged(const std::string &name)
	{
		Bytes bytes = encode_png(noise_image(64, 36));
		bytes.resize(bytes.size() / 2);
		return scratch.write(name, bytes);
	}

	int32_t choose(const std::string &path) { return kl_set_virtual_background(engine.get(), path.c_str()); }

	// A pixel behind the key in the next frame, which waits for nothing.
	static Pixel shown(kl_engine *by)
	{
		Picture input(64, 36);
		for (int x = 0; x < 64 * 36; ++x)
			std::copy_n(screen.data(), 4, input.bytes.data() + x * 4);
		Picture output(64, 36);
		EXPECT_EQ(kl_process_rgba(by, input.bytes.data(), 64, 36, 64 * 4, output.bytes.data(), 1, 0), KL_OK);
		Pixel pixel;
		std::copy_n(output.pixel(30, 20), 4, pixel.begin());
		return pixel;
	}
	Pixel shown() const { return shown(engine.get()); }

	Pixel shown_when_loaded() const
	{
		EXPECT_EQ(kl_wait_for_loads(engine.get(), long_enough_ms), KL_OK);
		return shown();
	}

	Events events;
};

// --- At once ---------------------------------------------------------------------------------------------------------

struct BadHead {
	const char *name;
	Bytes content;
	const char *reason;
};

std::vector<BadHead> bad_heads()
{
	const Bytes png = encode_png(plain_image(8, 8, blue));
	Bytes huge_png = png;
	std::copy_n(std::array<uint8_t, 4>{0, 0, 0x75, 0x30}.begin(), 4, huge_png.begin() + 16);
	Bytes wide_png = png;
	std::copy_n(std::array<uint8_t, 4>{0x80, 0, 0, 0}.begin(), 4, wide_png.begin() + 16);
	Bytes flat_png = png;
	std::fill_n(flat_png.begin() + 20, 4, uint8_t{0});
	Bytes other_chunk = png;
	other_chunk[12] = 'J';
	return {
		{"empty.png", {}, "the file is empty"},
		{"noise.jpg", noise_image(64, 64).pixels, "neither a JPEG nor a PNG picture"},
		{"two_bytes.jpg", {0xFF, 0xD8}, "neither a JPEG nor a PNG picture"},
		{"a.gif", {'G', 'I', 'F', '8', '9', 'a'}, "neither a JPEG nor a PNG picture"},
		{"huge.png", huge_png, "the picture is too large"},
		{"wide.png", wide_png, "the picture is too large"},
		{"flat.png", flat_png, "a damaged PNG picture"},
		{"other_chunk.png", other_chunk, "a damaged PNG picture"},
		{"cut.png", Bytes(png.begin(), png.begin() + 20), "a damaged PNG picture"},
		{"huge.jpg", with_jpeg_size(jpeg_of(plain_image(8, 8, blue)), 30000, 30000),
		 "the picture is too large"},
		{"many.jpg", with_jpeg_size(jpeg_of(plain_image(8, 8, blue)), 16000, 16000),
		 "the picture is too large"},
		{"flat.jpg", with_jpeg_size(jpeg_of(plain_image(8, 8, blue)), 8, 0), "a damaged JPEG picture"},
	};
}

TEST_F(BackgroundLoading, AFileWhoseHeadIsBadIsRefusedAtOnce)
{
	const LoaderHold hold; // no answer comes from the loader
	size_t failures = 0;
	for (const BadHead &item : bad_heads()) {
		const std::string path = scratch.write(item.name, item.content);
		EXPECT_EQ(choose(path), KL_ERROR_FORMAT) << item.name;
		const std::string message = "background picture " + path + ": " + item.reason;
		EXPECT_TRUE(contains(log_text(), message)) << item.name;
		ASSERT_EQ(events.failures().size(), ++failures) << item.name;
		EXPECT_EQ(events.failures().back().message, message);
		EXPECT_EQ(kl_wait_for_loads(engine.get(), 0), KL_OK) << item.name;
	}
}

TEST_F(BackgroundLoading, WhatIsNoReadableFileIsRefusedAtOnce)
{
	const LoaderHold hold;
	std::filesystem::create_directory(scratch.place("folder"));
	for (const std::string &path : {scratch.path("absent.jpg"), scratch.path("folder")}) {
		EXPECT_EQ(choose(path), KL_ERROR_FILE);
		EXPECT_TRUE(contains(events.failures().back().message, path));
	}
	EXPECT_EQ(events.failures().size(), 2U);
	EXPECT_EQ(kl_wait_for_loads(engine.get(), 0), KL_OK);
}

TEST_F(BackgroundLoading, AFileAboveTheLimitIsRefusedAtOnce)
{
	const LoaderHold hold;
	const std::string path = write("a.png", blue);
	std::filesystem::resize_file(scratch.place("a.png"), max_image_file_bytes + 1);
	EXPECT_EQ(choose(path), KL_ERROR_FORMAT);
}

TEST_F(BackgroundLoading, AJpegThatHidesItsSizeBehindMuchElseLoads)
{
	Bytes bytes = jpeg_of(plain_image(64, 36, blue));
	for (int part = 0; part < 3; ++part) {
		Bytes segment = {0xFF, 0xED, 0xFF, 0xFF};
		segment.resize(2 + 0xFFFF, 'x');
		bytes.insert(bytes.begin() + 2, segment.begin(), segment.end());
	}
	ASSERT_EQ(choose(scratch.write("a.jpg", bytes)), KL_OK);
	const Pixel pixel = shown_when_loaded();
	for (size_t channel = 0; channel < 4; ++channel)
		EXPECT_NEAR(pixel[channel], blue[channel], 3);
}

TEST_F(BackgroundLoading, WaitingRefusesNullAndNegativeTimes)
{
	EXPECT_EQ(kl_wait_for_loads(nullptr, 0), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_wait_for_loads(engine.get(), -1), KL_ERROR_INVALID_ARGUMENT);
	EXPECT_EQ(kl_wait_for_loads(engine.get(), 0), KL_OK);
}

// --- From the choice to the frame ------------------------------------------------------------------------------------

TEST_F(BackgroundLoading, WhatIsThereStaysUntilThePictureIsReady)
{
	kl_set_virtual_background_blur(engine.get(), 1);
	const Pixel blurred = shown();
	ASSERT_NE(blurred, nothing);
	LoaderHold first;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	EXPECT_EQ(kl_wait_for_loads(engine.get(), 0), KL_ERROR_BUSY);
	EXPECT_EQ(shown(), blurred);
	first.release();
	EXPECT_EQ(shown_when_loaded(), blue);

	LoaderHold second;
	ASSERT_EQ(choose(write("red.png", red)), KL_OK);
	EXPECT_EQ(shown(), blue);
	second.release();
	EXPECT_EQ(shown_when_loaded(), red);
}

TEST_F(BackgroundLoading, TheCapturedBackgroundStaysUntilThePictureIsReady)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	EXPECT_EQ(shown(), nothing);
	hold.release();
	EXPECT_EQ(shown_when_loaded(), blue);
}

TEST_F(BackgroundLoading, TheNewestChoiceWins)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("red.png", red)), KL_OK);
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	hold.release_and_drain();
	EXPECT_EQ(shown(), blue);
	EXPECT_FALSE(contains(log_text(), "red.png"));
	EXPECT_EQ(events.failures().size(), 0U);
}

TEST_F(BackgroundLoading, ANewerChoiceTakesThePlaceOfOneThatNoFrameHasShown)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("red.png", red)), KL_OK);
	hold.release_and_drain();
	LoaderHold again;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	EXPECT_EQ(shown(), nothing);
	again.release();
	EXPECT_EQ(shown_when_loaded(), blue);
}

TEST_F(BackgroundLoading, ARefusedChoiceLeavesTheLoadThatIsUnderWay)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	EXPECT_EQ(choose(scratch.path("absent.png")), KL_ERROR_FILE);
	EXPECT_EQ(choose(scratch.write("empty.png", Bytes())), KL_ERROR_FORMAT);
	hold.release();
	EXPECT_EQ(shown_when_loaded(), blue);
}

TEST_F(BackgroundLoading, ClearTakesThePlaceOfAPictureUnderWay)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	kl_clear_virtual_background(engine.get());
	EXPECT_EQ(kl_wait_for_loads(engine.get(), 0), KL_OK);
	hold.release_and_drain();
	EXPECT_EQ(shown(), nothing);
	EXPECT_FALSE(contains(log_text(), "blue.png"));
}

TEST_F(BackgroundLoading, BlurTakesThePlaceOfAPictureUnderWay)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	kl_set_virtual_background_blur(engine.get(), 1);
	hold.release_and_drain();
	EXPECT_NE(shown(), blue);
	EXPECT_EQ(shown()[3], 255);
}

TEST_F(BackgroundLoading, TheFileIsTheOneThatWasThereWhenItWasChosen)
{
	LoaderHold hold;
	const std::string path = write("blue.png", blue);
	write("red.png", red);
	ASSERT_EQ(choose(path), KL_OK);
	std::error_code error;
	std::filesystem::rename(scratch.place("red.png"), scratch.place("blue.png"), error);
	hold.release();
	if (error)
		GTEST_SKIP() << "an open file cannot be replaced here: " << error.message(); // Windows
	EXPECT_EQ(shown_when_loaded(), blue);
}

TEST_F(BackgroundLoading, TheFramesSizeIsTakenFromTheFrames)
{
	// Known before the choice, told while it is loaded, and not known until the picture is there.
	const std::string path = write("blue.png", blue);
	shown();
	ASSERT_EQ(choose(path), KL_OK);
	EXPECT_EQ(shown_when_loaded(), blue);

	engine = create();
	prepare(engine.get());
	LoaderHold hold;
	ASSERT_EQ(choose(path), KL_OK);
	shown();
	hold.release();
	EXPECT_EQ(shown_when_loaded(), blue);

	engine = create();
	prepare(engine.get());
	ASSERT_EQ(choose(path), KL_OK);
	EXPECT_EQ(shown_when_loaded(), blue);
}

// --- Failures that are seen late -------------------------------------------------------------------------------------

TEST_F(BackgroundLoading, ADamagedFileIsAnEventAndALogLine_AndTheBackgroundIsCleared)
{
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	ASSERT_EQ(shown_when_loaded(), blue);
	const std::string path = write_damaged("damaged.png");
	ASSERT_EQ(choose(path), KL_OK);
	EXPECT_EQ(shown_when_loaded(), nothing);
	const std::vector<Events::Item> failures = events.failures();
	ASSERT_EQ(failures.size(), 1U);
	const std::string message = "background picture " + path + ": a damaged PNG picture";
	EXPECT_EQ(failures[0].message, message);
	EXPECT_NE(failures[0].thread, std::this_thread::get_id());
	EXPECT_TRUE(contains(log_text(), "[error] engine " + std::to_string(engine->number) + ": " + message));
	// The engine is as good as before.
	ASSERT_EQ(choose(write("red.png", red)), KL_OK);
	EXPECT_EQ(shown_when_loaded(), red);
}

TEST_F(BackgroundLoading, AFailureOfWhatIsNoLongerWantedSaysNothing)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write_damaged("damaged.png")), KL_OK);
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	hold.release();
	EXPECT_EQ(shown_when_loaded(), blue);
	EXPECT_EQ(events.failures().size(), 0U);
	EXPECT_FALSE(contains(log_text(), "damaged.png"));
}

TEST_F(BackgroundLoading, ACallbackThatWasTakenAwayHearsNothing)
{
	LoaderHold hold;
	ASSERT_EQ(choose(write_damaged("damaged.png")), KL_OK);
	kl_engine_set_event_callback(engine.get(), nullptr, nullptr);
	hold.release();
	EXPECT_EQ(shown_when_loaded(), nothing);
	EXPECT_EQ(events.failures().size(), 0U);
	EXPECT_TRUE(contains(log_text(), "damaged.png"));
}

TEST_F(BackgroundLoading, AJpegOfMoreThanAHundredScansFails)
{
	const Image image = plain_image(64, 36, blue);
	ASSERT_EQ(choose(scratch.write("many.jpg", jpeg_of_scans(image, 101))), KL_OK);
	EXPECT_EQ(shown_when_loaded(), nothing);
	ASSERT_EQ(events.failures().size(), 1U);
	EXPECT_TRUE(contains(events.failures()[0].message, "more than 100 scans"));
	ASSERT_EQ(choose(scratch.write("enough.jpg", jpeg_of_scans(image, 100))), KL_OK);
	EXPECT_NEAR(shown_when_loaded()[2], blue[2], 3);
}

// --- A clock that does what a test needs on the loader's thread ------------------------------------------------------

struct LoaderClock {
	std::atomic<int> calls = 0;
	std::atomic<int64_t> step_us = 0; // that each call takes
	std::function<void(int call)> on_call;
	std::thread::id frames_thread = std::this_thread::get_id();
};

LoaderClock *loader_clock = nullptr; // set while no load is under way

int64_t read_loader_clock()
{
	if (std::this_thread::get_id() == loader_clock->frames_thread)
		return 0;
	const int call = ++loader_clock->calls;
	if (loader_clock->on_call)
		loader_clock->on_call(call);
	return call * loader_clock->step_us;
}

class BackgroundLoadingByTheClock : public BackgroundLoading {
protected:
	BackgroundLoadingByTheClock()
	{
		loader_clock = &clock;
		engine->clock_us = read_loader_clock;
	}

	// More than a thousand rows, and a look at the clock for each.
	std::string write_long_one(const std::string &name)
	{
		write_image(scratch.place(name), noise_image(160, 1200));
		return scratch.path(name);
	}

	LoaderClock clock;
};

TEST_F(BackgroundLoadingByTheClock, APictureThatTakesMoreThanTwoSecondsFails)
{
	clock.step_us = max_decoding_us / 100; // long before the thousandth row
	for (const char *name : {"slow.jpg", "slow.png"}) {
		clock.calls = 0;
		const std::string path = write_long_one(name);
		ASSERT_EQ(choose(path), KL_OK);
		EXPECT_EQ(shown_when_loaded(), nothing) << name;
		ASSERT_FALSE(events.failures().empty());
		EXPECT_EQ(events.failures().back().message,
			  "background picture " + path + ": decoding takes longer than two seconds");
		EXPECT_EQ(clock.calls, 102)
			<< name; // the first begins the two seconds, the hundredth after it ends them
	}
	EXPECT_EQ(events.failures().size(), 2U);
}

TEST_F(BackgroundLoadingByTheClock, APictureThatTakesLessThanTwoSecondsLoads)
{
	clock.step_us = max_decoding_us / 10'000;
	for (const char *name : {"a.jpg", "a.png"}) {
		clock.calls = 0;
		ASSERT_EQ(choose(write_long_one(name)), KL_OK);
		EXPECT_NE(shown_when_loaded(), nothing) << name;
		EXPECT_GT(clock.calls, 1000) << name;
	}
	EXPECT_EQ(events.failures().size(), 0U);
}

TEST_F(BackgroundLoadingByTheClock, DestroyDoesNotWaitForADecodingWhileAnotherEngineLives)
{
	const EnginePointer other = create();
	std::promise<void> begun;
	std::promise<void> destroyed;
	clock.on_call = [&](int call) {
		if (call == 3) {
			begun.set_value();
			destroyed.get_future().wait();
		}
	};
	ASSERT_EQ(choose(write_long_one("long.jpg")), KL_OK);
	begun.get_future().wait();
	engine.reset(); // would hang here if it waited
	LoaderHold after;
	destroyed.set_value();
	after.release_and_drain();
	EXPECT_LE(clock.calls, 3);
	EXPECT_EQ(events.failures().size(), 0U);
}

TEST_F(BackgroundLoadingByTheClock, TheLastEngineEndsADecodingThatIsUnderWay)
{
	for (const char *name : {"long.jpg", "long.png"}) {
		clock.calls = 0;
		engine = create();
		engine->clock_us = read_loader_clock;
		std::promise<void> begun;
		std::promise<std::weak_ptr<BackgroundLoad>> load;
		clock.on_call = [&](int call) {
			if (call != 3)
				return;
			begun.set_value();
			const std::weak_ptr<BackgroundLoad> own = load.get_future().get();
			while (own.use_count() > 1) // until the engine has given it up
				std::this_thread::yield();
		};
		ASSERT_EQ(choose(write_long_one(name)), KL_OK);
		begun.get_future().wait();
		load.set_value(engine->background_load);
		engine.reset();
		EXPECT_LE(clock.calls, 3) << name;
	}
}

TEST_F(BackgroundLoadingByTheClock, ANewerChoiceEndsADecodingThatIsUnderWay)
{
	std::promise<void> begun;
	std::promise<void> replaced;
	clock.on_call = [&](int call) {
		if (call == 3) {
			begun.set_value();
			replaced.get_future().wait();
		}
	};
	ASSERT_EQ(choose(write_long_one("long.jpg")), KL_OK);
	begun.get_future().wait();
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	EXPECT_EQ(shown(), nothing);
	replaced.set_value();
	EXPECT_EQ(shown_when_loaded(), blue);
	EXPECT_LT(clock.calls, 200); // the long one has a thousand
	EXPECT_FALSE(contains(log_text(), "long.jpg"));
}

// --- Several engines -------------------------------------------------------------------------------------------------

TEST_F(BackgroundLoading, NoEventComesAfterDestroy)
{
	const EnginePointer other = create();
	LoaderHold hold;
	ASSERT_EQ(choose(write_damaged("damaged.png")), KL_OK);
	engine.reset();
	hold.release_and_drain();
	EXPECT_EQ(events.failures().size(), 0U);
}

TEST_F(BackgroundLoading, TwoEnginesLoadAtOnce)
{
	const EnginePointer other = create();
	prepare(other.get());
	LoaderHold hold;
	ASSERT_EQ(choose(write("blue.png", blue)), KL_OK);
	ASSERT_EQ(kl_set_virtual_background(other.get(), write("red.png", red).c_str()), KL_OK);
	hold.release();
	EXPECT_EQ(shown_when_loaded(), blue);
	EXPECT_EQ(kl_wait_for_loads(other.get(), long_enough_ms), KL_OK);
	EXPECT_EQ(shown(other.get()), red);
}

TEST_F(BackgroundLoading, EnginesOfManyThreadsChooseProcessAndGo)
{
	const std::string good = write("blue.png", blue);
	const std::string bad = write_damaged("damaged.png");
	std::atomic<int> wrong = 0;
	std::vector<std::thread> threads;
	for (int number = 0; number < 4; ++number) {
		threads.emplace_back([&, number] {
			for (int round = 0; round < 12; ++round) {
				const EnginePointer own = create();
				prepare(own.get());
				wrong +=
					kl_set_virtual_background(own.get(), (round % 3 ? good : bad).c_str()) != KL_OK;
				shown(own.get());
				if (round % 4 == number)
					kl_clear_virtual_background(own.get());
				if (round % 2)
					wrong += kl_wait_for_loads(own.get(), long_enough_ms) != KL_OK;
				shown(own.get());
			}
		});
	}
	for (std::thread &thread : threads)
		thread.join();
	EXPECT_EQ(wrong, 0);
}

} // namespace
} // namespace kalvio::engine::testing
