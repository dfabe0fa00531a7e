#pragma once

#include <stop_token>

#include "QuillonCore/Network/QuillonURLTransferring.h"

namespace quillon {

/// Reads a regular file, links followed, as a transfer. Throws as QuillonURLTransferring::transfer does.
void transferFile(const QuillonURL& file, QuillonURLTransferReceiving& receiver, const std::stop_token& stopToken);

}  // namespace quillon
