#pragma once

#include <map>

namespace KX {

// An ordered map: iteration runs in ascending order of the keys.
template <typename K, typename V>
using CMap = std::map<K, V>;

}  // namespace KX
