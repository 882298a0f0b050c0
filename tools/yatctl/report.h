// SPDX-License-Identifier: GPL-2.0-or-later
// What yatctl prints: tables for people, or JSON by data/yatctl.schema.json for programs.
#pragma once

#include "yatctl/machine.h"

#include <nlohmann/json.hpp>

namespace yatctl {

using Json = nlohmann::ordered_json;

constexpr int jsonFormat = 1; // goes up when a program that reads the layout would have to change

// What every JSON text begins with.
Json beginJson();
Json stateJson(const Device &device); // what there is to say of its state, part of the next one
Json toJson(const Device &device);
Json devicesJson(const std::vector<Device> &devices);
void print(const Json &json, int indentation = 2);

void printDevices(const std::vector<Device> &devices);
void printDevice(const Device &device);

} // namespace yatctl
