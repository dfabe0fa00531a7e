#include "QuillonUpdatesAppKitUI/Presentation/Linux/QuillonGLibMainThread.h"

#include <glib.h>

#include <deque>
#include <mutex>
#include <utility>

namespace quillon {

/// The functions that wait, and what makes the main context run them one by one.
class QuillonGLibMainThread::Source {
 public:
  Source() : source_(g_source_new(&kCallbacks, sizeof(Record))) {
    reinterpret_cast<Record*>(source_)->owner = this;
    g_source_set_static_name(source_, "Quillon main thread");
    g_source_set_priority(source_, G_PRIORITY_DEFAULT_IDLE);
    g_source_set_can_recurse(source_, TRUE);
    g_source_attach(source_, nullptr);
  }

  ~Source() {
    g_source_destroy(source_);
    // Destroyed after the lock is released: what the functions hold may call back.
    std::deque<std::function<void()>> dropped;
    {
      const std::lock_guard guard(lock_);
      didEnd_ = true;
      dropped.swap(functions_);
    }
    dropped.clear();
    g_source_unref(source_);
  }

  Source(const Source&) = delete;
  Source& operator=(const Source&) = delete;

  void post(std::function<void()> function) {
    const std::lock_guard guard(lock_);
    if (didEnd_) return;
    functions_.push_back(std::move(function));
    g_source_set_ready_time(source_, 0);
  }

 private:
  /// What GLib allocates.
  struct Record {
    GSource source;
    Source* owner;
  };

  /// Nothing of this object may be touched once the function has run: it may have ended the main thread.
  void runNext() {
    std::function<void()> function;
    {
      const std::lock_guard guard(lock_);
      if (functions_.empty()) return;
      function = std::move(functions_.front());
      functions_.pop_front();
      if (functions_.empty()) g_source_set_ready_time(source_, -1);
    }
    function();
  }

  static gboolean dispatch(GSource* source, GSourceFunc /*callback*/, gpointer /*data*/) {
    reinterpret_cast<Record*>(source)->owner->runNext();
    return G_SOURCE_CONTINUE;
  }

  static inline GSourceFuncs kCallbacks{.prepare = nullptr,
                                        .check = nullptr,
                                        .dispatch = dispatch,
                                        .finalize = nullptr,
                                        .closure_callback = nullptr,
                                        .closure_marshal = nullptr};

  GSource* const source_;
  std::mutex lock_;
  std::deque<std::function<void()>> functions_;  // guarded by lock_
  bool didEnd_ = false;                          // guarded by lock_
};

QuillonGLibMainThread::QuillonGLibMainThread() : source_(std::make_unique<Source>()) {}

QuillonGLibMainThread::~QuillonGLibMainThread() = default;

void QuillonGLibMainThread::post(std::function<void()> function) {
  source_->post(std::move(function));
}

}  // namespace quillon
