#include "norvik/vocabulary/idle_runner.h"

#include "norvik/platform/idle_hook.h"

namespace norvik {

NVIdleRunner::NVIdleRunner(std::function<void()> block) : block_(std::move(block)) {}

NVIdleRunner::~NVIdleRunner() = default;

std::shared_ptr<NVIdleRunner> NVIdleRunner::create(std::function<void()> block) {
  std::shared_ptr<NVIdleRunner> runner(new NVIdleRunner(std::move(block)));
  // The hook refers to the runner weakly: while attached, the runner's own self_ keeps it alive.
  runner->observer_ =
      std::make_unique<platform::IdleHook>([weak = std::weak_ptr<NVIdleRunner>(runner)] {
        if (auto self = weak.lock()) self->idle();
      });
  return runner;
}

void NVIdleRunner::execute() {
  if (!observer_) return;
  observer_->attach();
  isExecuting_ = true;
  self_ = shared_from_this();
}

void NVIdleRunner::stop() {
  if (!observer_ || !isExecuting_) return;
  auto keep = std::move(self_);  // released when this function returns
  observer_->detach();
  observer_.reset();
  isExecuting_ = false;
}

void NVIdleRunner::idle() {
  auto keep = std::move(self_);
  if (!observer_) return;
  if (block_) {
    try {
      block_();
    } catch (...) {
      // The work is over either way; an exception must not reach the loop.
    }
  }
  // The hook has already detached itself; dropping it ends the runner's attachment for good.
  observer_.reset();
  isExecuting_ = false;
}

}  // namespace norvik
