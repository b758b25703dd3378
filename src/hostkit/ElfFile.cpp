// SPDX-License-Identifier: MIT
#include "ElfFile.h"

#if defined(KESTRUN_HAVE_LIBELF)

#include <QFile>
#include <QFileInfo>
#include <QHash>

#include <gelf.h>
#include <memory>

namespace {

// Reads each entry of a section with `get` and passes it to `take`.
template <typename Entry, typename Get, typename Take>
void forEach(Elf_Scn *section, const GElf_Shdr &header, Get get, Take take)
{
    Elf_Data *const data = elf_getdata(section, nullptr);
    if (!data || header.sh_entsize == 0)
        return;
    const int count = static_cast<int>(header.sh_size / header.sh_entsize);
    for (int index = 0; index < count; ++index) {
        Entry entry;
        if (get(data, index, &entry))
            take(entry);
    }
}

QString machineName(const GElf_Ehdr &head)
{
    static const QHash<int, QString> names{{EM_X86_64, QStringLiteral("x86-64")},
                                           {EM_386, QStringLiteral("x86")},
                                           {EM_AARCH64, QStringLiteral("ARM64")},
                                           {EM_ARM, QStringLiteral("ARM")},
                                           {EM_RISCV, QStringLiteral("RISC-V")}};
    return names.value(head.e_machine, QStringLiteral("processor %1").arg(head.e_machine))
        + (head.e_ident[EI_CLASS] == ELFCLASS64 ? QStringLiteral(", 64 bits")
                                                : QStringLiteral(", 32 bits"));
}

} // namespace

std::optional<LibraryFacts> readElf(const QString &fileName)
{
    QFile file(fileName);
    if (elf_version(EV_CURRENT) == EV_NONE || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    const std::unique_ptr<Elf, decltype(&elf_end)> elf(
        elf_begin(file.handle(), ELF_C_READ, nullptr), elf_end);
    if (!elf || elf_kind(elf.get()) != ELF_K_ELF)
        return std::nullopt;

    GElf_Ehdr head;
    LibraryFacts facts;
    if (gelf_getehdr(elf.get(), &head))
        facts.machine = machineName(head);
    for (Elf_Scn *section = nullptr; (section = elf_nextscn(elf.get(), section));) {
        GElf_Shdr header;
        if (!gelf_getshdr(section, &header))
            continue;
        const auto name = [&](std::size_t offset) {
            return QString::fromUtf8(elf_strptr(elf.get(), header.sh_link, offset));
        };
        if (header.sh_type == SHT_DYNSYM) {
            forEach<GElf_Sym>(section, header, gelf_getsym, [&](const GElf_Sym &symbol) {
                if (symbol.st_shndx != SHN_UNDEF)
                    facts.exports << name(symbol.st_name);
            });
        } else if (header.sh_type == SHT_DYNAMIC) {
            forEach<GElf_Dyn>(section, header, gelf_getdyn, [&](const GElf_Dyn &entry) {
                if (entry.d_tag == DT_NEEDED)
                    facts.needed << name(entry.d_un.d_val);
                else if (entry.d_tag == DT_SONAME)
                    facts.soname = name(entry.d_un.d_val);
                else if (entry.d_tag == DT_RUNPATH || entry.d_tag == DT_RPATH)
                    facts.searched << name(entry.d_un.d_val).split(QLatin1Char(':'));
            });
        }
    }
    for (const char *origin : {"${ORIGIN}", "$ORIGIN"})
        facts.searched.replaceInStrings(QLatin1String(origin), QFileInfo(fileName).absolutePath());
    return facts;
}

#else

std::optional<LibraryFacts> readElf(const QString &)
{
    return std::nullopt;
}

#endif
