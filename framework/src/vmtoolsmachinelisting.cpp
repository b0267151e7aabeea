// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsmachinelisting.h>

VMToolsMachineListing::~VMToolsMachineListing() = default;
