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

} // namespace

VMToolsEngine *VMToolsEngine::loadEngine(LoadStateInfo *info)
{
    VBoxLog::debug() << "Loading" << PluginName << "plugin";
    const QString pluginFolder =
        QCoreApplication::applicationDirPath() + QStringLiteral("/plugins/");

    // Not unloaded on purpose: the plug-in's code must stay mapped while its engine lives.
    QLibrary library(pluginFolder + PluginName);
    const auto factory =
        reinterpret_cast<GetVMToolsEngineFunction>(library.resolve("getVMToolsEngine"));
    if (!factory)
        return failedLoad(pluginFolder);
    VBoxLog::debug() << "Plugin" << PluginName << "loaded";

    VMToolsEngine *engine = factory();
    if (!engine) {
        VBoxLog::critical() << "Unable to execute getVMToolsEngine from" << PluginName;
        return failedLoad(pluginFolder);
    }

    const LoadStateInfo state = engine->initialize();
    if (info)
        *info = state;
    if (state.state != 0 && state.state != 3) {
        delete engine;
        return failedLoad(pluginFolder);
    }
    VBoxLog::debug() << "VM engine version:" << engine->version();
    return engine;
}
