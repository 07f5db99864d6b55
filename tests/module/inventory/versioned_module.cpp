// SPDX-License-Identifier: Apache-2.0

// Something for a module to export.
extern "C" __attribute__((visibility("default"))) int AnswerOfTheVersionedModule() {
    return 42;
}
