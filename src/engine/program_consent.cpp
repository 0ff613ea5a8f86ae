#include "engine/program_consent.h"

#include "state/message_boxes.h"
#include "state/run_state.h"
#include "state/settings_store.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>

namespace corvane {

namespace {

const QString kCorvane = QStringLiteral("Corvane");

QByteArray ContentHash(const QString& path) {
    QFile file(path);
    QCryptographicHash hash(QCryptographicHash::Sha256);
    if (file.open(QIODevice::ReadOnly))
        hash.addData(&file);
    return hash.result().toHex();
}

QString CommandLine(const QString& program, const QString& arguments) {
    return arguments.trimmed().isEmpty() ? program : program + QLatin1Char(' ') + arguments;
}

} // namespace

QString ProgramConsent::ConfirmationKey(const QString& namedIn, const QString& program) {
    QCryptographicHash hash(QCryptographicHash::Sha256);
    hash.addData(QFileInfo(namedIn).absoluteFilePath().toUtf8());
    hash.addData("\n");
    hash.addData(ContentHash(namedIn));
    hash.addData("\n");
    hash.addData(program.toUtf8());
    return QStringLiteral("ConfirmedPrograms/") + QString::fromLatin1(hash.result().toHex());
}

bool ProgramConsent::MayStart(const QString& program, const QString& arguments,
                              const QString& namedIn) {
    const QString line = CommandLine(program, arguments);
    switch (m_policy) {
    case ProgramPolicy::Allow:
        return true;
    case ProgramPolicy::Refuse:
        m_state.Boxes().Show(MessageBox{
            QStringLiteral("Program not started"),
            QStringLiteral("The experiment file '") + namedIn +
                QStringLiteral("' asks to start the program\n\n") + line +
                QStringLiteral("\n\nAn unattended run starts programs only when it is given "
                               "--allow-programs. The program is not started and the item is "
                               "passed over."),
            BoxIcon::Warning});
        return false;
    case ProgramPolicy::Ask:
        break;
    }
    const QString key = ConfirmationKey(namedIn, program);
    if (SettingsStore::Get(kCorvane, key, false).toBool())
        return true;
    const BoxAnswer answer = m_state.Boxes().Show(MessageBox{
        QStringLiteral("Start a program?"),
        QStringLiteral("The experiment file '") + namedIn +
            QStringLiteral("' starts this program:\n\n") + line +
            QStringLiteral("\n\nStart it only if you trust where the experiment comes from. Your "
                           "answer Yes is remembered for this file until its content changes; "
                           "with No the item is passed over."),
        BoxIcon::Question, BoxButtons::YesNo, BoxAnswer::No});
    if (answer != BoxAnswer::Yes)
        return false;
    SettingsStore::Save(kCorvane, key, true);
    return true;
}

} // namespace corvane
