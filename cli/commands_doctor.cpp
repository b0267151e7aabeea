// SPDX-License-Identifier: Apache-2.0
#include "commandcontext.h"
#include "commands.h"
#include "console.h"
#include "doctor.h"
#include "hostfiles.h"
#include "output.h"

namespace {

int doctor(CommandContext &c)
{
    if (!c.step(QStringLiteral("Checking VirtualBox and the host")))
        return c.interrupted();
    const QList<Doctor::Result> results = Doctor::run(HostFiles::fromEnvironment());
    c.stepDone();
    const int problems = Doctor::count(results, Doctor::Status::Problem);
    const QJsonObject json{
        {QStringLiteral("checks"), Doctor::json(results)},
        {QStringLiteral("problems"), problems},
        {QStringLiteral("warnings"), Doctor::count(results, Doctor::Status::Warning)},
    };
    if (problems == 0)
        return c.out().done(json, Doctor::text(results));
    if (!c.out().json())
        Console::instance().out(Doctor::text(results));
    return c.out().fail(QStringLiteral("%1 problem(s) found on this host").arg(problems),
                        ExitCode::Failure, json);
}

} // namespace

namespace Commands {

Command doctorCommand()
{
    return {QStringLiteral("doctor"),
            QStringLiteral("Check that VirtualBox can run devices on this host"),
            QStringLiteral("Checks VBoxManage and its version, VirtualBox's kernel driver, KVM, "
                           "the processor's\nhardware virtualization, the host-only network and "
                           "its address plan, the\nlanguage of VirtualBox's service, inaccessible "
                           "machines, a machine folder left\nswitched, the free space for "
                           "devices and the settings files. Prints per check ok,\nwarning, "
                           "problem or skipped, and for what is wrong the one thing to do. Fails\n"
                           "(exit status 1) only for a problem; it changes nothing on the host."),
            QString(),
            0,
            0,
            {},
            EngineUse::None,
            doctor,
            {}};
}

} // namespace Commands
