// SPDX-License-Identifier: GPL-2.0-or-later
#include "panel/model/save_request.h"

#include <obs-frontend-api.h>

namespace kalvio {

void request_save(SaveRequest &request)
{
	request.polls_left = polls_before_save;
}

void poll_save(SaveRequest &request, bool is_control_held)
{
	if (request.polls_left == 0 || is_control_held)
		return;
	if (--request.polls_left == 0)
		obs_frontend_save();
}

void save_now(SaveRequest &request)
{
	if (request.polls_left == 0)
		return;
	request = {};
	obs_frontend_save();
}

} // namespace kalvio
