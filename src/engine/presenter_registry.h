// The presenters of a run, by item type and by kind of list entry. Each form is registered with
// what it presents; the run asks here for a form and so never names one. A type or kind that no
// form presents gets no form, and the run tells it as a type or kind it does not know.
#pragma once

#include "definitions/experiment_loader.h"
#include "engine/run_driver.h"
#include "engine/word_processor.h"

#include <QHash>
#include <QSet>
#include <QStringList>
#include <functional>
#include <initializer_list>
#include <map>

namespace corvane {

class ItemForm;
struct RunContext;

class PresenterRegistry {
public:
    /// Makes a form for the item or list entry in hand; the run loads it.
    using MakeForm = std::function<ItemForm*(RunContext&)>;

    /// The program's forms, registered on first use.
    static const PresenterRegistry& Program();

    /// Registers a form for item types (as the questionnaire names them) and kinds of list entry.
    void Add(const QStringList& types, std::initializer_list<FileKindClass> kinds,
             const MakeForm& make);
    template <typename Form>
    void Add(const QStringList& types, std::initializer_list<FileKindClass> kinds = {}) {
        Add(types, kinds, [](RunContext& run) -> ItemForm* { return new Form(run); });
    }

    /// Makes ready, once the experiment is loaded and before its run starts, what a form needs
    /// of the files the experiment names, so that showing them costs the run no time.
    using Prepare =
        std::function<void(RunContext&, const ExperimentNeeds&, const StatusPanel& panel)>;
    void AddPreparation(const Prepare& prepare) { m_preparations.push_back(prepare); }
    /// Runs every preparation, in the order they were added.
    void PrepareExperiment(RunContext& run, const ExperimentNeeds& needs,
                           const StatusPanel& panel) const;
    /// Registers a form that stays up above the items that follow it, until the run unloads it
    /// (an on-line rating): it is no item's current form.
    template <typename Form> void AddOverlay(const QStringList& types) {
        Add<Form>(types);
        for (const QString& type : types)
            m_overlays.insert(type.trimmed().toLower());
    }
    /// True for a type whose form is an overlay.
    bool IsOverlay(const QString& type) const;

    bool Presents(const QString& type) const;
    bool Presents(FileKindClass kind) const;
    /// A new form for an item of that type; nullptr when no form presents it.
    ItemForm* MakeItemForm(const QString& type, RunContext& run) const;
    /// A new form for a list entry of that kind; nullptr when no form presents it.
    ItemForm* MakeFileForm(FileKindClass kind, RunContext& run) const;

private:
    QHash<QString, MakeForm> m_types;
    std::map<FileKindClass, MakeForm> m_kinds;
    QList<Prepare> m_preparations;
    QSet<QString> m_overlays;
};

/// Registers every form of the program; defined beside the forms, in the one list of them.
void RegisterProgramForms(PresenterRegistry& registry);

} // namespace corvane
