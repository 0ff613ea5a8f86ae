// The one list of the program's item forms: a new form is added here, by one line that names
// the item types and the kinds of list entry it presents. The run finds it through the registry.
//
// A list rather than forms that register themselves from static objects in their own files: the
// forms live in a static library, and the linker leaves out an object file that nothing names,
// so such a form would be missing from the program without a word. This list names every form,
// and the registry names the list, so all of them are always linked in.
#include "engine/presenter_registry.h"
#include "items/media/document_cache.h"
#include "items/media/fDocument.h"
#include "items/media/fImage.h"
#include "items/media/fInstruction.h"
#include "items/media/fMovie.h"
#include "items/media/fSlideShow.h"
#include "items/media/fSound.h"
#include "items/media/fExecutable.h"
#include "items/media/fHtml.h"
#include "items/media/fInstruction.h"
#include "items/media/tachyra_session.h"
#include "items/response/fEssay.h"
#include "items/response/fFillBlank.h"
#include "items/response/fMultResp.h"
#include "items/response/fOnLine.h"
#include "items/response/fRank.h"
#include "items/response/fScale.h"
#include "items/response/fThoughtListing.h"
#include "items/response/fThoughtRate.h"
#include "items/response/fVoiceResponse.h"

namespace corvane {

void RegisterProgramForms(PresenterRegistry& forms) {
    forms.Add<fScale>({QStringLiteral("scale response")});
    forms.Add<fRank>({QStringLiteral("ranking")});
    forms.Add<fInstruction>({QStringLiteral("instructions")});
    forms.Add<fMultResp>({QStringLiteral("multiple response")});
    forms.Add<fFillBlank>({QStringLiteral("fill-in-the-blank")});
    forms.Add<fEssay>({QStringLiteral("essay")});
    forms.Add<fImage>({QStringLiteral("image file")}, {FileKindClass::Image});
    forms.AddPreparation(fImage::PrepareImages);
    forms.Add<fSound>({QStringLiteral("sound file")}, {FileKindClass::Sound});
    forms.Add<fMovie>({QStringLiteral("movie")}, {FileKindClass::Movie});
    forms.Add<fDocument>({QStringLiteral("word document"), QStringLiteral("wordperfect doc")},
                         {FileKindClass::Document});
    forms.AddPreparation(PrepareDocuments);
    forms.Add<fSlideShow>({QStringLiteral("powerpoint show")}, {FileKindClass::SlideShow});
    forms.Add<fThoughtListing>({QStringLiteral("thought listing"), QStringLiteral("recall list")});
    forms.Add<fThoughtRate>({QStringLiteral("thought rating")});
    forms.AddOverlay<fOnLine>({QStringLiteral("on-line rating")});
    forms.Add<fVoiceResponse>({QStringLiteral("voice response")});
    forms.Add<fHtml>({QStringLiteral("html"), QStringLiteral("webtracker")},
                     {FileKindClass::WebPage});
    forms.Add<fExecutable>({QStringLiteral("executable"), QStringLiteral("inquisit session")},
                           {FileKindClass::Program});
    forms.Add<TachyraSession>({QStringLiteral("tachyra")}, {FileKindClass::TachyraSession});
}

} // namespace corvane
