// SPDX-FileCopyrightText: The velmar_remote authors
// SPDX-License-Identifier: MIT

#include <Pegasus/Common/ResponseHandler.h>

namespace Pegasus {

ResponseHandler::ResponseHandler() = default;

ResponseHandler::~ResponseHandler() = default;

void ResponseHandler::setContext(const OperationContext& context) { _context = context; }

OperationContext ResponseHandler::getContext() const { return _context; }

}  // namespace Pegasus
