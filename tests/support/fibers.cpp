#include "fibers.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <stdexcept>
#include <utility>

Fiber::Fiber(std::function<void()> body) : _body(std::move(body)), _stack(new char[kStackSize]) {
  getcontext(&_context);
  _context.uc_stack.ss_sp = _stack.get();
  _context.uc_stack.ss_size = kStackSize;
  _context.uc_link = &Fibers::instance()._test;
  makecontext(&_context, enter, 0);
}

void Fiber::enter() {
  Fiber& fiber = *Fibers::instance().current();
  fiber._body();
  fiber._done = true;
}

Fibers& Fibers::instance() {
  static Fibers fibers;
  return fibers;
}

void Fibers::reset(std::uint32_t seed) {
  for (const auto& fiber : _all) {
    if (!fiber->done()) throw std::logic_error("a fiber is not done");
  }
  _all.clear();
  _random.seed(seed);
}

Fiber& Fibers::add(std::function<void()> body) {
  _all.push_back(std::make_unique<Fiber>(std::move(body)));
  return *_all.back();
}

void Fibers::resume(Fiber& fiber) {
  if (!fiber.runnable()) throw std::logic_error("the fiber cannot go on");
  _current = &fiber;
  swapcontext(&_test, &fiber._context);
  _current = nullptr;
}

void Fibers::pass(std::chrono::nanoseconds time) {
  _now += time;
  for (const auto& fiber : _all) {
    if (fiber->waits() && fiber->_deadline <= _now) wake(*fiber);
  }
}

void Fibers::yield() { swapcontext(&_current->_context, &_test); }

int Fibers::wait(const void* condition, pthread_mutex_t* mutex, std::chrono::nanoseconds deadline) {
  if (deadline <= _now) return ETIMEDOUT;
  _current->_condition = condition;
  _current->_deadline = deadline;
  pthread_mutex_unlock(mutex);
  yield();
  pthread_mutex_lock(mutex);
  return deadline <= _now ? ETIMEDOUT : 0;
}

void Fibers::notify_one(const void* condition) {
  std::vector<Fiber*> waiting;
  for (const auto& fiber : _all) {
    if (fiber->_condition == condition && fiber->waits()) waiting.push_back(fiber.get());
  }
  if (!waiting.empty()) wake(*waiting[_random() % waiting.size()]);
}

// What the linker puts in the place of the functions that the names end in.
extern "C" {

int __wrap_pthread_cond_clockwait(pthread_cond_t* condition, pthread_mutex_t* mutex, clockid_t,
                                  const timespec* deadline) {
  return Fibers::instance().wait(
      condition, mutex,
      std::chrono::seconds(deadline->tv_sec) + std::chrono::nanoseconds(deadline->tv_nsec));
}

// std::condition_variable begins with its pthread_cond_t.
static_assert(sizeof(std::condition_variable) == sizeof(pthread_cond_t));
void __wrap__ZNSt18condition_variable10notify_oneEv(std::condition_variable* condition) {
  Fibers::instance().notify_one(condition);
}

std::chrono::nanoseconds::rep __wrap__ZNSt6chrono3_V212steady_clock3nowEv() {
  return Fibers::instance().now().count();
}

std::uint64_t __wrap__Z7time_msv() {
  return static_cast<std::uint64_t>(
      std::chrono::duration_cast<std::chrono::milliseconds>(Fibers::instance().now()).count());
}

}  // extern "C"
