#pragma once

/// Makes the allocator keep little memory that is free. By itself it would keep more and more after large blocks, in
/// each thread that has freed some. Call before other threads start.
void limitFreeMemory();

/// Returns to the system what this thread's last work has freed. Takes milliseconds if that was much. Throws nothing.
void returnFreeMemory();
