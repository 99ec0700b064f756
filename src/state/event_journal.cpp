#include "state/event_journal.h"

namespace kestrane {

void EventJournal::ResetEvents() {}

}  // namespace kestrane
