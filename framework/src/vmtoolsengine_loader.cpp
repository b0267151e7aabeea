// SPDX-License-Identifier: Apache-2.0
#include <vmtools/vmtoolsengine.h>

#include <vmtools/vboxlog.h>

#include <QCoreApplication>
#include <QLibrary>

namespace {

const QString PluginName = QStringLiteral("vboxmanage");

VMToolsEngine *failedLoad(const QString &pluginFolder)
{
    VBoxLog::critical()
        << QStringLiteral("Fail to load %1 plugin from %2").arg(PluginName, pluginFolder);
    return nullptr;
}

QString pluginFolder()
{
    return QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/");
}

// Set only while a start-up runs on this thread; engines read it from initialize.
thread_local bool t_networkRepairForbidden = false;

} // namespace

VMToolsEngine *VMToolsEngine::openEngine()
{
    VBoxLog::debug() << "Loading" << PluginName << "plugin";
    const QString folder = pluginFolder();

    // Not unloaded on purpose: the plug-in's code must stay mapped while its engine lives.
    QLibrary library(folder + PluginName);
    const auto factory =
        reinterpret_cast<GetVMToolsEngineFunction>(library.resolve("getVMToolsEngine"));
    if (!factory)
        return failedLoad(folder);
    VBoxLog::debug() << "Plugin" << PluginName << "loaded";

    VMToolsEngine *engine = factory();
    if (!engine) {
        VBoxLog::critical() << "Unable to execute getVMToolsEngine from" << PluginName;
        return failedLoad(folder);
    }
    return engine;
}

VMToolsEngine *VMToolsEngine::loadEngine(LoadStateInfo *info)
{
    return loadEngine(info, NetworkRepair::Allowed);
}

VMToolsEngine *VMToolsEngine::loadEngine(LoadStateInfo *info, NetworkRepair repair)
{
    VMToolsEngine *engine = openEngine();
    if (!engine)
        return nullptr;

    t_networkRepairForbidden = repair == NetworkRepair::Forbidden;
    const LoadStateInfo state = engine->initialize();
    t_networkRepairForbidden = false;
    if (info)
        *info = state;
    if (state.state != 0 && state.state != 3) {
        delete engine;
        return failedLoad(pluginFolder());
    }
    VBoxLog::debug() << "VM engine version:" << engine->version();
    return engine;
}

bool VMToolsEngine::mayRepairNetwork()
{
    return !t_networkRepairForbidden;
}
