// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel_model_fixture.h"

namespace {

kalvio::UpdateStatus &answer()
{
	static kalvio::UpdateStatus status;
	return status;
}

int polls = 0;

} // namespace

namespace kalvio {

namespace test {

void set_update_status(const UpdateStatus &status)
{
	answer() = status;
	polls = 0;
}

int update_check_polls()
{
	return polls;
}

} // namespace test

void start_update_check_if_due()
{
	++polls;
}

UpdateStatus update_status()
{
	return answer();
}

// For the widgets and the dock alone, which a build that compiles several sources as one links with the rest.
void load_update_dismissal() {}

bool update_is_forced()
{
	return answer().forced;
}

void dismiss_update() {}

void open_update_download() {}

void stop_update_service() {}

} // namespace kalvio
