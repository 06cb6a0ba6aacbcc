#pragma once

/// Threads and semaphores that the service does not get. Counted from the instruction on, the first being 1; a test
/// that asks for a fault ends with ForgetFaults.
namespace faults {

/// The service's nth thread is refused. Threads of libraries and of tests do not count.
void RefuseThread(int nth);

/// The nth semaphore that is created, by any thread, gets no memory.
void RefuseMemory(int nth);

void ForgetFaults();

}  // namespace faults
