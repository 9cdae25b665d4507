// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "platform/HttpClient.h"

namespace moorix {

/// The real one. Certificates are judged by the system's authorities. Keeps no cookies and no cache.
class NetworkHttpClient final : public HttpClient
{
public:
    HttpReply send(const HttpRequest &request, const std::stop_token &stop) override;
};

} // namespace moorix
