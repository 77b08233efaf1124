// Work spread over the cores: a shared counter hands out indexes, so that a long meeting holds up
// one thread, not a fixed share of the list.
#pragma once

#include <cstddef>
#include <functional>

namespace zelmor::Workers {

/// `asked` threads, or one per core (at most 8) when 0; never more than there are items, never 0.
unsigned count(unsigned asked, size_t items);

/// Runs `work(i, worker)` for every i below `items`, on up to `workers` threads numbered from 0
/// (the caller's own thread is 0), so that each thread can keep state of its own by number.
/// When no more threads can be started, those running share the rest.
void forEachIndex(size_t items, unsigned workers,
                  const std::function<void(size_t index, unsigned worker)>& work);

} // namespace zelmor::Workers
