// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "platform/arx/AcRx.h"

namespace norvex::service {

// An application module in the process. It stays loaded until the process ends, because others hold pointers into it;
// objects of this class only name it and may be copied.
class Module {
  public:
    // Loads a module and checks that it speaks the host's API version. Errors: nothing, and error is one clause that
    // says why, without the module's name.
    static std::optional<Module> Load(const std::filesystem::path& file, std::string& error);

    const std::filesystem::path& File() const { return m_file; }
    // File name without the folder.
    std::string Name() const { return m_file.filename().string(); }
    // Sends a message and returns the module's answer.
    AcRx::AppRetCode Send(AcRx::AppMsgCode message) const { return m_entryPoint(message, m_handle); }
    // Address of a name that this very module exports; null when it does not, even if a module that it stands on does.
    void* OwnSymbol(const char* name) const;

  private:
    Module(std::filesystem::path file, void* handle) : m_file(std::move(file)), m_handle(handle) {}

    std::filesystem::path m_file;
    void* m_handle;
    AcRxEntryPointFunction m_entryPoint = nullptr;
};

// Whether the file is a shared library whose table of symbols defines this name for others; false when it cannot be
// read. The file is not loaded.
bool DefinesSymbol(const std::filesystem::path& file, const char* name);

}  // namespace norvex::service
