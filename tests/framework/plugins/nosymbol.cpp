// SPDX-License-Identifier: Apache-2.0
// A library that loads but exports no factory.
extern "C" __attribute__((visibility("default"))) int notTheFactory()
{
    return 42;
}
