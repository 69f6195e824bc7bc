// SPDX-License-Identifier: Apache-2.0
// The names of the properties that every assistant has, for `IZEAProperties`, which tells what each holds. A provider's
// own, such as "max_tokens", are told by `IZEAProperties::obtainDescription`.
#pragma once

namespace zea::property {

inline constexpr char kApiHost[] = "api_host";
inline constexpr char kApiKey[] = "api_key";
inline constexpr char kModel[] = "model";
inline constexpr char kUseTemperature[] = "use_temperature";
inline constexpr char kTemperature[] = "temperature";
inline constexpr char kUserInstructions[] = "user_instructions";
inline constexpr char kSystemInstructions[] = "system_instructions";
inline constexpr char kStructure[] = "db_structure";
inline constexpr char kCombinedInstructions[] = "combined_instructions";

}  // namespace zea::property
