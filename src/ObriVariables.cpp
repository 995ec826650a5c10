#include "ObriVariables.h"

ObriVariables& ObriVariables::instance()
{
    static ObriVariables variables;
    return variables;
}
