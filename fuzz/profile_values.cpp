// SPDX-License-Identifier: Apache-2.0
// A profile value as "vmtools set" reads it, for a key of every kind; and the key lookup.
#include "fuzztext.h"

#include <profilekeys.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = FuzzText::decode(data, size);
    ProfileKeys::find(text);
    for (const char *name : {"resolution", "full-screen", "cpus", "device-id"}) {
        const ProfileKey *key = ProfileKeys::find(QLatin1String(name));
        FUZZ_CHECK(key);
        QVariant value;
        QString error;
        if (ProfileKeys::parse(*key, text, &value, &error)) {
            FUZZ_CHECK(error.isEmpty());
            ProfileKeys::displayText(*key, value);
            ProfileKeys::jsonValue(*key, value);
        } else {
            FUZZ_CHECK(!error.isEmpty());
        }
    }
    return 0;
}
