// SPDX-License-Identifier: GPL-2.0-or-later

// A library needs something to compile; all that this one has is its list of names.
