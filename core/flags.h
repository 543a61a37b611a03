// Values that the timer's thread and a caller's thread share. They stay plain
// integers and doubles in their records; every access that can meet another
// thread goes through these.
#pragma once
#include <atomic>
#include <cstdint>

// clang-tidy does not see that a reference writes through the pointers.
// NOLINTBEGIN(readability-non-const-parameter)

inline int32_t LoadFlag(const int32_t& flag)
{
    return std::atomic_ref<int32_t>(const_cast<int32_t&>(flag)).load();
}

inline void StoreFlag(int32_t* flag, int32_t value)
{
    std::atomic_ref<int32_t>(*flag).store(value);
}

// Adds `step` and returns the new value.
inline int32_t StepFlag(int32_t* flag, int32_t step)
{
    return std::atomic_ref<int32_t>(*flag).fetch_add(step) + step;
}

// Stores `value` and returns what stood there.
inline int32_t ExchangeFlag(int32_t* flag, int32_t value)
{
    return std::atomic_ref<int32_t>(*flag).exchange(value);
}

inline int8_t LoadFlag(const int8_t& flag)
{
    return std::atomic_ref<int8_t>(const_cast<int8_t&>(flag)).load();
}

inline void StoreFlag(int8_t* flag, int8_t value)
{
    std::atomic_ref<int8_t>(*flag).store(value);
}

inline uint8_t LoadFlag(const uint8_t& flag)
{
    return std::atomic_ref<uint8_t>(const_cast<uint8_t&>(flag)).load();
}

inline void StoreFlag(uint8_t* flag, uint8_t value)
{
    std::atomic_ref<uint8_t>(*flag).store(value);
}

inline uint32_t LoadFlag(const uint32_t& flag)
{
    return std::atomic_ref<uint32_t>(const_cast<uint32_t&>(flag)).load();
}

inline void StoreFlag(uint32_t* flag, uint32_t value)
{
    std::atomic_ref<uint32_t>(*flag).store(value);
}

// Readings carry no order of their own: any recent value will do.
inline double LoadReading(const double& reading)
{
    return std::atomic_ref<double>(const_cast<double&>(reading)).load(std::memory_order_relaxed);
}

inline void StoreReading(double* reading, double value)
{
    std::atomic_ref<double>(*reading).store(value, std::memory_order_relaxed);
}

// NOLINTEND(readability-non-const-parameter)
