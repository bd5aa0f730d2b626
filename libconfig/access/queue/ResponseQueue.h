// The making of a connection's response queue. Internal.
#pragma once

#include <mqueue.h>

#include <string>

namespace qel::config {

// Opens or makes it, empty and locked for as long as it is open: two factories of a process give
// the same names, and so do processes whose numbers agree in 16 bits. -1 with the reason in errno,
// after the limit of the user's queues was doubled where that was the reason: EWOULDBLOCK for a
// queue of a living client, EACCES for one that is another user's.
mqd_t OpenResponseQueue(const std::string& name);

// The lines for a queue that was not opened, by errno, which stays as it is.
void ReportNoResponseQueue(const std::string& name);

}  // namespace qel::config
