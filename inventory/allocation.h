#pragma once

#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>

#include <new>

namespace kestrelvisor {

// Makes a shared record; null when there is no memory for it.
template <class Record>
boost::shared_ptr<Record> allocateOrNull() {
  try {
    return boost::make_shared<Record>();
  } catch (const std::bad_alloc&) {
    return {};
  }
}

}  // namespace kestrelvisor
