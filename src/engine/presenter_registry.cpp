#include "engine/presenter_registry.h"

namespace corvane {

const PresenterRegistry& PresenterRegistry::Program() {
    static const PresenterRegistry program = [] {
        PresenterRegistry registry;
        RegisterProgramForms(registry);
        return registry;
    }();
    return program;
}

void PresenterRegistry::Add(const QStringList& types, std::initializer_list<FileKindClass> kinds,
                            const MakeForm& make) {
    for (const QString& type : types)
        m_types.insert(type.trimmed().toLower(), make);
    for (const FileKindClass kind : kinds)
        m_kinds[kind] = make;
}

void PresenterRegistry::PrepareExperiment(RunContext& run, const ExperimentNeeds& needs,
                                          const StatusPanel& panel) const {
    for (const Prepare& prepare : m_preparations)
        prepare(run, needs, panel);
}

bool PresenterRegistry::IsOverlay(const QString& type) const {
    return m_overlays.contains(type.trimmed().toLower());
}

bool PresenterRegistry::Presents(const QString& type) const {
    return m_types.contains(type.trimmed().toLower());
}

bool PresenterRegistry::Presents(FileKindClass kind) const {
    return m_kinds.count(kind) > 0;
}

ItemForm* PresenterRegistry::MakeItemForm(const QString& type, RunContext& run) const {
    const auto found = m_types.constFind(type.trimmed().toLower());
    return found == m_types.cend() ? nullptr : (*found)(run);
}

ItemForm* PresenterRegistry::MakeFileForm(FileKindClass kind, RunContext& run) const {
    const auto found = m_kinds.find(kind);
    return found == m_kinds.end() ? nullptr : found->second(run);
}

} // namespace corvane
