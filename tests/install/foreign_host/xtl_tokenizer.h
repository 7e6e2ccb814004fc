#ifndef FOREIGN_XTL_TOKENIZER_H
#define FOREIGN_XTL_TOKENIZER_H

#include <memory>

#include "mem_alloc_sys.h"

// The work is done by somebody else.
class XTL_TOKENIZER {
public:
   XTL_TOKENIZER(const char* separators, bool keep_empty, const MEM_STRING& quotes, const MEM_STRING& escapes,
                 const MEM_STRING& comments, bool trim);
   virtual ~XTL_TOKENIZER();

   virtual void tokenize(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens) const;

private:
   class SPLITTER;
   std::unique_ptr<SPLITTER> m_splitter;
};

#endif
