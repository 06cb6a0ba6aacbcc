#ifndef COMMON_UTILS_H
#define COMMON_UTILS_H

/// Statuses of the operations that answer with an int.
constexpr int STATUS_SUCCESS = 0;
constexpr int STATUS_FAILURE = 9999;  ///< nothing found, or a thread that could not be created

/// Queries of the product information. Any thread; a failed query is logged at error level and reads as false.
namespace utils {

/// The product is a smart monitor, not a TV.
bool IsSmartMonitor();

/// The product was made for the Chinese market.
bool IsChinaLocalSet();

}  // namespace utils

#endif
