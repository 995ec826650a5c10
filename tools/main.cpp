#include "CommandLine.h"

#include <exception>
#include <iostream>

int main(int argc, char** argv)
{
    try {
        const int status = obriadv::runTool({argv + 1, argv + argc}, std::cout, std::cerr);
        std::cout.flush();
        if (!std::cout) {
            std::cerr << "obri-adv: cannot write the result\n";
            return obriadv::sStatusFailed;
        }
        return status;
    } catch (const std::exception& problem) { // out of memory above all
        std::cerr << "obri-adv: " << problem.what() << "\n";
        return obriadv::sStatusFailed;
    }
}
