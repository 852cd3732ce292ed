// SPDX-License-Identifier: GPL-2.0-or-later
#include "sha256.h"

#include <array>
#include <bit>
#include <cmath>
#include <vector>

namespace kalvio::engine {

namespace {

constexpr int rounds = 64;
constexpr size_t block_bytes = 64;

// The first 32 bits of the fractional part of a positive number.
uint32_t fraction_bits(long double value)
{
	const long double fraction = value - std::floor(value);
	return static_cast<uint32_t>(fraction * 0x1p32L);
}

std::array<int, rounds> first_primes()
{
	std::array<int, rounds> primes = {};
	int found = 0;
	for (int number = 2; found < rounds; ++number) {
		bool prime = true;
		for (int index = 0; index < found && prime; ++index)
			prime = number % primes[static_cast<size_t>(index)] != 0;
		if (prime)
			primes[static_cast<size_t>(found++)] = number;
	}
	return primes;
}

// The constants of sections 4.2.2 and 5.3.3: roots of the first primes.
struct Constants {
	std::array<uint32_t, rounds> round;
	std::array<uint32_t, 8> initial;

	Constants()
	{
		const std::array<int, rounds> primes = first_primes();
		for (size_t index = 0; index < rounds; ++index)
			round[index] = fraction_bits(std::cbrt(static_cast<long double>(primes[index])));
		for (size_t index = 0; index < initial.size(); ++index)
			initial[index] = fraction_bits(std::sqrt(static_cast<long double>(primes[index])));
	}
};

void add_block(const Constants &constants, const uint8_t *block, std::array<uint32_t, 8> &hash)
{
	std::array<uint32_t, rounds> words = {};
	for (size_t index = 0; index < 16; ++index) {
		for (size_t byte = 0; byte < 4; ++byte)
			words[index] = words[index] << 8 | block[4 * index + byte];
	}
	for (size_t index = 16; index < rounds; ++index) {
		const uint32_t early = words[index - 15];
		const uint32_t late = words[index - 2];
		words[index] = words[index - 16] + words[index - 7] +
			       (std::rotr(early, 7) ^ std::rotr(early, 18) ^ (early >> 3)) +
			       (std::rotr(late, 17) ^ std::rotr(late, 19) ^ (late >> 10));
	}
	auto [a, b, c, d, e, f, g, h] = hash;
	for (size_t index = 0; index < rounds; ++index) {
		const uint32_t first = h + (std::rotr(e, 6) ^ std::rotr(e, 11) ^ std::rotr(e, 25)) +
				       ((e & f) ^ (~e & g)) + constants.round[index] + words[index];
		const uint32_t second =
			(std::rotr(a, 2) ^ std::rotr(a, 13) ^ std::rotr(a, 22)) + ((a & b) ^ (a & c) ^ (b & c));
		h = g;
		g = f;
		f = e;
		e = d + first;
		d = c;
		c = b;
		b = a;
		a = first + second;
	}
	const std::array<uint32_t, 8> result = {a, b, c, d, e, f, g, h};
	for (size_t index = 0; index < hash.size(); ++index)
		hash[index] += result[index];
}

} // namespace

std::string sha256(std::span<const uint8_t> bytes)
{
	static const Constants constants;
	std::vector<uint8_t> padded(bytes.begin(), bytes.end());
	padded.push_back(0x80);
	while (padded.size() % block_bytes != block_bytes - 8)
		padded.push_back(0);
	const uint64_t bits = uint64_t{bytes.size()} * 8;
	for (int shift = 56; shift >= 0; shift -= 8)
		padded.push_back(static_cast<uint8_t>(bits >> shift));

	std::array<uint32_t, 8> hash = constants.initial;
	for (size_t block = 0; block < padded.size(); block += block_bytes)
		add_block(constants, padded.data() + block, hash);
	std::string text;
	for (const uint32_t word : hash) {
		for (int shift = 28; shift >= 0; shift -= 4)
			text += "0123456789abcdef"[word >> shift & 15U];
	}
	return text;
}

} // namespace kalvio::engine
