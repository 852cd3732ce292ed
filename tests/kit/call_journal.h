// SPDX-License-Identifier: GPL-2.0-or-later
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

// What the code under test did, in one order across engine, host, seams and log.
namespace kalvio::test {

template <class Type>
inline constexpr bool is_whole = std::is_enum_v<Type> || (std::is_integral_v<Type> && !std::is_same_v<Type, bool>);
template <class Type>
concept WholeNumber = is_whole<Type>;

// One argument of a recorded call, kept and compared by value. Floats compare by their bits: a NaN equals itself, and
// 0.0 differs from -0.0. The constructors are implicit so that tables of expected calls read as the calls do.
class Argument {
public:
	Argument(std::nullptr_t) {}
	Argument(bool value) : value_(value) {}
	Argument(float value);
	Argument(double value);
	Argument(const char *text); // null is the null argument
	Argument(std::string text) : value_(std::move(text)) {}
	template <WholeNumber Number>
	Argument(Number value) : value_(static_cast<int64_t>(value))
	{
	}

	// An address that is compared but never followed.
	static Argument address(const void *pointer);

	bool operator==(const Argument &) const = default;
	friend std::ostream &operator<<(std::ostream &out, const Argument &argument);

private:
	struct FloatBits {
		uint32_t bits;
		bool operator==(const FloatBits &) const = default;
	};
	struct DoubleBits {
		uint64_t bits;
		bool operator==(const DoubleBits &) const = default;
	};

	std::variant<std::monostate, bool, int64_t, FloatBits, DoubleBits, std::string, const void *> value_;
};

enum class CallOrigin { Expected, Engine, Host, Seam, Log };

// One call. Two calls are equal when name and arguments are.
struct Call {
	std::string name;
	std::vector<Argument> arguments;

	CallOrigin origin = CallOrigin::Expected;
	const void *object = nullptr; // the engine that was called, or that was created; null for all other calls
	std::thread::id thread = {};
	uint64_t order = 0; // grows by one with each recorded call

	bool operator==(const Call &other) const;
	friend std::ostream &operator<<(std::ostream &out, const Call &call);
};

// The calls of this process. Any thread. While it is switched off, recording costs one load and allocates nothing.
class CallJournal {
public:
	template <class... Arguments>
	void record(CallOrigin origin, const char *name, const void *object, Arguments &&...arguments)
	{
		if (!enabled_.load(std::memory_order_relaxed))
			return;
		append(Call{name, {Argument(std::forward<Arguments>(arguments))...}, origin, object, {}, 0});
	}

	// Empty again, and switched on.
	void reset();
	void set_enabled(bool enabled) { enabled_ = enabled; }
	bool enabled() const { return enabled_.load(std::memory_order_relaxed); }

	std::vector<Call> calls() const;
	std::vector<Call> calls(CallOrigin origin) const;
	std::vector<Call> calls_named(std::string_view name) const;
	size_t count(std::string_view name) const { return calls_named(name).size(); }

	// The calls since the last take or reset.
	std::vector<Call> take();

private:
	void append(Call call);

	mutable std::mutex mutex_;
	std::vector<Call> calls_;
	std::atomic<bool> enabled_ = true;
	uint64_t next_order_ = 0;
};

CallJournal &call_journal();

// The names alone, for tests of an order.
std::vector<std::string> names_of(const std::vector<Call> &calls);

} // namespace kalvio::test
