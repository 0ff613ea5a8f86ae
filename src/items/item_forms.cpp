// The one list of the program's item forms: a new form is added here, by one line that names
// the item types and the kinds of list entry it presents. The run finds it through the registry.
//
// A list rather than forms that register themselves from static objects in their own files: the
// forms live in a static library, and the linker leaves out an object file that nothing names,
// so such a form would be missing from the program without a word. This list names every form,
// and the registry names the list, so all of them are always linked in.
#include "engine/presenter_registry.h"
#include "items/media/fExecutable.h"
#include "items/media/fHtml.h"
#include "items/media/fInstruction.h"
#include "items/media/tachyra_session.h"
#include "items/response/fEssay.h"
#include "items/response/fFillBlank.h"
#include "items/response/fMultResp.h"
#include "items/response/fRank.h"
#include "items/response/fScale.h"

namespace corvane {

void RegisterProgramForms(PresenterRegistry& forms) {
    forms.Add<fScale>({QStringLiteral("scale response")});
    forms.Add<fRank>({QStringLiteral("ranking")});
    forms.Add<fInstruction>({QStringLiteral("instructions")});
    forms.Add<fMultResp>({QStringLiteral("multiple response")});
    forms.Add<fFillBlank>({QStringLiteral("fill-in-the-blank")});
    forms.Add<fEssay>({QStringLiteral("essay")});
    forms.Add<fHtml>({QStringLiteral("html"), QStringLiteral("webtracker")},
                     {FileKindClass::WebPage});
    forms.Add<fExecutable>({QStringLiteral("executable"), QStringLiteral("inquisit session")},
                           {FileKindClass::Program});
    forms.Add<TachyraSession>({QStringLiteral("tachyra")}, {FileKindClass::TachyraSession});
}

} // namespace corvane
