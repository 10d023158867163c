// The return codes that several functions share. What each of them means for one function stands in
// the host's function catalogue. A function may also leave the host's value as it was.
#pragma once

namespace uwugit {

inline constexpr double kSuccess = 0.0;
inline constexpr double kFailure = -1.0;
inline constexpr double kLibgit2Failure = -2.0;

}  // namespace uwugit
