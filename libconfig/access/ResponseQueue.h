// The making of a connection's response queue. Internal.
#pragma once

#include <mqueue.h>

#include <string>

namespace qel::config {

// Opens or makes it, empty. -1 with the reason in errno, after the limit of the user's queues was
// doubled where that was the reason, and for a queue that is another user's.
mqd_t OpenResponseQueue(const std::string& name);

// The lines for a queue that was not opened, by errno, which stays as it is.
void ReportNoResponseQueue(const std::string& name);

}  // namespace qel::config
