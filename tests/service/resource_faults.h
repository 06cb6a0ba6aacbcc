#pragma once

/// Threads and memory that the service does not get. Counted from the instruction on, the first being 1; a test that
/// asks for a fault ends with ForgetFaults.
namespace faults {

/// The service's nth thread is refused. Threads of libraries and of tests do not count.
void RefuseThread(int nth);

/// The nth allocation that is allowed to fail (new (std::nothrow)) does so. Semaphores and singletons are made so.
void RefuseMemory(int nth);

void ForgetFaults();

}  // namespace faults
