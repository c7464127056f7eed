#pragma once
// Work ordered by due time, ties by the order it was queued: the store behind both
// main-queue implementations here and of the Qt one. Not thread-safe: its owner holds a
// lock around every call. For main-queue implementations only.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace platform::dispatch::detail {

template <typename TimePoint>
class WorkHeap {
 public:
  using Sequence = std::uint64_t;

  void push(TimePoint due, std::function<void()> work) {
    entries_.push_back(Entry{due, next_++, std::move(work)});
    std::push_heap(entries_.begin(), entries_.end(), Later{});
  }

  // Marks the start of a turn: work queued from now on belongs to a later turn.
  Sequence turnLimit() const { return next_; }

  // Takes the first work, in (due time, queue order), that is due at `now` and was
  // queued before `limit`. Work queued after `limit` stays, even when it is due.
  std::optional<std::function<void()>> popDue(TimePoint now, Sequence limit) {
    std::vector<Entry> tooNew;
    std::optional<std::function<void()>> found;
    while (!entries_.empty() && entries_.front().due <= now) {
      Entry entry = popFront();
      if (entry.sequence < limit) {
        found = std::move(entry.work);
        break;
      }
      tooNew.push_back(std::move(entry));
    }
    for (auto& entry : tooNew) {
      entries_.push_back(std::move(entry));
      std::push_heap(entries_.begin(), entries_.end(), Later{});
    }
    return found;
  }

  std::optional<TimePoint> nextDue() const {
    if (entries_.empty()) return std::nullopt;
    return entries_.front().due;
  }

  std::size_t size() const { return entries_.size(); }

  // Hands all queued work out, so that its owner can destroy it outside its lock.
  std::vector<std::function<void()>> takeAll() {
    std::vector<std::function<void()>> all;
    all.reserve(entries_.size());
    for (auto& entry : entries_) all.push_back(std::move(entry.work));
    entries_.clear();
    return all;
  }

 private:
  struct Entry {
    TimePoint due;
    Sequence sequence;
    std::function<void()> work;
  };
  // std heaps keep the greatest element in front; "greatest" here is the earliest.
  struct Later {
    bool operator()(const Entry& a, const Entry& b) const {
      if (a.due != b.due) return a.due > b.due;
      return a.sequence > b.sequence;
    }
  };

  Entry popFront() {
    std::pop_heap(entries_.begin(), entries_.end(), Later{});
    Entry entry = std::move(entries_.back());
    entries_.pop_back();
    return entry;
  }

  std::vector<Entry> entries_;
  Sequence next_ = 0;
};

}  // namespace platform::dispatch::detail
