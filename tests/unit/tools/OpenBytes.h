#pragma once

#include "AdvBuilder.h"
#include "AdvFile.h"

/// Opens bytes as a recording; the error of the reader.
inline std::string openBytes(obriadv::AdvFile& file, const Bytes& bytes)
{
    return file.open(std::make_unique<obriadv::MemorySource>(bytes));
}
