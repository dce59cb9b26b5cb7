// zel: the command line of the measurement-amplifier modules.

#include "application.h"
#include "command_line.h"
#include "console.h"
#include "interrupt.h"
#include "number_text.h"

namespace zel::cli {

namespace {

/// The mask of log categories that --log names, in hexadecimal.
std::string logMask(const std::string& what)
{
    static const std::map<std::string, std::string> kNamed{{"all", "FFFFFFFF"},
                                                           {"transactions", "2000000"},
                                                           {"measurement", "40000"},
                                                           {"system", "8000000"}};
    if (const auto named = kNamed.find(what); named != kNamed.end())
        return named->second;
    if (!wholeNumber<std::uint32_t>("0x" + what)) {
        throw CommandFailure({.problem = "'" + what + "' names nothing that is logged",
                              .advice = "--log takes all, transactions, measurement, system or a "
                                        "mask of categories in hexadecimal, as in --log=2000000"});
    }
    return what;
}

/// The library reads both when it makes its logger, so this comes before anything that starts it.
void switchLogOn(Application& application)
{
    setEnvironment("ZEL_LOG_CATEGORIES", logMask(application.log));
    setEnvironment("ZEL_LOG_LEVEL", "7");
    application.output.separateFromLog();
}

int run(const std::vector<std::string>& arguments)
{
    Application application;
    try {
        parseCommandLine(application, arguments);
        if (!application.log.empty())
            switchLogOn(application);
        application.work();
        application.output.finish();
        return 0;
    } catch (const CommandFailure& failure) {
        application.output.failure(failure);
    } catch (const Interrupted&) {
        application.output.failure(CommandFailure({.problem = "stopped before the end"}));
    } catch (const ReaderGone&) {
        // Whoever closed the pipe has seen enough.
    } catch (const std::exception& error) {
        application.output.failure(CommandFailure({.problem = error.what()}));
    }
    return 1;
}

} // namespace

} // namespace zel::cli

int main(int argc, char** argv)
{
    zel::cli::prepareConsole();
    zel::cli::installInterruptHandler();
    return zel::cli::run(zel::cli::utf8Arguments(argc, argv));
}
