// A started facade for one repetition.
#ifndef FWBASE_BENCH_FACADE_H
#define FWBASE_BENCH_FACADE_H

#include <fwbase/fwbase.h>

#include <stdexcept>
#include <string>

namespace fwbase::bench {

/// Throws when a result that the benchmark relies on is a failure.
inline void require(ec::EC result) {
  if (ec::failed(result)) {
    throw std::runtime_error(std::string(ec::name(result)) + ": " + ec::text(result));
  }
}

class Facade {
 public:
  Facade() { require(get()->init()); }
  ~Facade() { get()->release(); }
  Facade(const Facade&) = delete;
  Facade& operator=(const Facade&) = delete;

  IFWBase* operator->() const { return get(); }

 private:
  static IFWBase* get() { return IFWBase::instance(); }
};

}  // namespace fwbase::bench

#endif
