#pragma once

// Wording of every text that an operator sees; the English text is the key. Linked by the library name Translator.

#include "ModuleExport.h"

#include <QString>

class MODULE_EXPORT CTranslator
{
public:
    static CTranslator* GetInstance();
    /// The wording in the current language, or the key itself where there is none.
    QString GetWording(const QString& strKey);
};
