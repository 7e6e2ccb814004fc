#ifndef HOST_XTL_TOKENIZER_H
#define HOST_XTL_TOKENIZER_H

#include "mem_alloc_sys.h"

/// Splits texts at separator bytes. One tokenizer is set up once and splits any number of texts.
///
/// With the settings that the log database uses (",", true, "", "", "", false) the pieces of a text are what
/// stands between the commas, empty pieces included; the empty text after a final comma is no piece, and an
/// empty text has none:
///
///     a,b,     gives  "a" "b"
///     a,,      gives  "a" ""
///     ,a       gives  ""  "a"
class XTL_TOKENIZER {
public:
   /// \param separators  the set of bytes that separate pieces; when empty, a text is one piece
   /// \param keep_empty  whether an empty piece between two separators, or in front of the first, is a piece;
   ///                    if false, empty pieces are dropped
   /// \param quotes      the set of bytes that quote: between such a byte and the next equal one every byte
   ///                    stands for itself; the two quotes are left out of the piece. A quote that is not
   ///                    closed reaches to the end of the text. A piece that held quotes is never an empty
   ///                    piece in the sense of keep_empty
   /// \param escapes     the set of bytes that make the next byte stand for itself, inside quotes too; the
   ///                    escape byte is left out of the piece, at the end of the text it stands for itself
   /// \param comments    the set of bytes that end the text where they stand outside quotes
   /// \param trim        whether blanks and tabs at both ends of a piece are dropped, before the piece is
   ///                    looked at for emptiness; quoted and escaped ones stay, an escape byte at the end of
   ///                    the text, too
   ///
   /// A byte that is in several of the sets is an escape before a quote, a quote before a comment, and a
   /// comment before a separator. The sets are copied.
   XTL_TOKENIZER(const MEM_STRING& separators, bool keep_empty, const MEM_STRING& quotes,
                 const MEM_STRING& escapes, const MEM_STRING& comments, bool trim);

   /// Splits one text.
   ///
   /// \param text    the text; any byte but those of the sets stands for itself, the zero byte included. It may
   ///                not be one of the tokens
   /// \param tokens  receives the pieces in order, nothing else: what it held is replaced. Strings that it
   ///                held may be reused for their storage. The caller may move the pieces out of it
   void tokenize(const MEM_STRING& text, MEM_VECTOR<MEM_STRING>& tokens);

private:
   MEM_STRING m_separators;
   MEM_STRING m_quotes;
   MEM_STRING m_escapes;
   MEM_STRING m_comments;
   // A host may have no use for these two.
   [[maybe_unused]] bool m_keep_empty = true;
   [[maybe_unused]] bool m_trim = false;
};

#endif
