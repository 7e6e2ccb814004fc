#ifndef LOGDB_FSYN_LOG_FILE_H
#define LOGDB_FSYN_LOG_FILE_H

#include "logdb_export.h"
#include "logdb_fsyn_log_entry.h"
#include "mem_alloc_sys.h"

class LOGDB_FSYN_FILE_STREAM;

/// The physical-synthesis log: a text file of records, appended line by line and read back record by record.
///
///     LOGDB_FSYN_LOG_FILE log;
///     log.set_file_name("top.fsyn");
///     log.init(true);
///     log.write_fsyn_log_entry(&record);             // in the file when the call returns
///     log.close();
///
///     while (LOGDB_FSYN_LOG_ENTRY* entry = log.read_fsyn_log_entry()) {
///        ...                                         // a switch on entry->m_type
///        delete entry;
///     }
///
/// An object reads or writes: the first line or the first word opens the file for that direction, which stays
/// until close(). The other operation then does nothing: no word is read, no line is written. The file is never
/// truncated.
///
/// One thread at a time in the whole process: all objects share one buffer for a word and one for a line.
/// Reports are made to the host with the domain "LOGDB" and the file "logdb_fsyn_database", and the operation
/// then goes on as described.
class LOGDB_EXPORT LOGDB_FSYN_LOG_FILE {
public:
   /// No name, no stream, not enabled.
   LOGDB_FSYN_LOG_FILE();

   /// \param file_name  taken as it is, unlike in set_file_name; copied. Null counts as empty
   explicit LOGDB_FSYN_LOG_FILE(const char* file_name);

   /// A copy shares the stream of the other object, if that has one open: both read or write on from the same
   /// place, and only one of the two may close it, or be destroyed with it. Set m_file_stream of the other to
   /// null first.
   LOGDB_FSYN_LOG_FILE(const LOGDB_FSYN_LOG_FILE& other);
   LOGDB_FSYN_LOG_FILE& operator=(const LOGDB_FSYN_LOG_FILE&) = delete;

   /// Closes the stream.
   ~LOGDB_FSYN_LOG_FILE();

   /// Enables or disables writing, at any time. The file is not touched. Reading does not ask.
   void init(bool enabled);

   /// Names the file. The name is lowered, directories included: Run/Log.TXT becomes run/log.txt. A stream
   /// that is open stays on the file that it was opened for.
   void set_file_name(MEM_STRING file_name);

   /// Whether the file can be opened for reading, or a stream is open: then the disk is not looked at. An
   /// empty name is reported ("m_file_name.size() > 0") and looked for all the same.
   bool file_exists();

   /// Deletes the file, as the host does it, and answers what the host answers. A stream that is open stays
   /// open. An empty name is reported ("m_file_name.size() > 0") and handed to the host all the same.
   bool delete_file();

   /// Appends one line and hands it to the operating system with one write, so that it is in the file when the
   /// call returns, whatever happens to the process then. Does nothing on a log that is not enabled.
   ///
   /// When the file cannot be opened or written, nothing is reported and the lines are lost, up to close(): a
   /// file never has a gap between two lines. A full disk may keep the beginning of the line that did not fit; what
   /// is printed after close() is then appended to it.
   ///
   /// \param format  a printf format and its arguments, without the line feed. The text is cut after 4095
   ///                characters, and at its first zero byte
   void print_line(const char* format, ...) __attribute__((format(printf, 2, 3)));

   /// The next word of the file, whatever line it is on: white space is skipped, and the word ends at the next
   /// white space. The word LOGDB_FSYN_EOF at the end of the file, and from then on; also for a file that
   /// cannot be opened or read, and from the first zero byte on that stands where a word should begin. A zero
   /// byte inside a word ends it.
   ///
   /// \return the word, in a buffer that the next read on any object overwrites; not to be changed. A word of
   ///         more than 4096 characters is cut to 4096, and the rest is skipped
   char* read_line();

   /// Closes the file. The name and the enabling stay, so the next line or word opens it again. Failure is not
   /// reported.
   void close();

   /// Copies every record of another log to the end of this one, END_OF_LOG records included, reading and
   /// writing each: what does not read back is not copied. Nothing is written on a log that is not enabled. A
   /// log that is appended to itself is copied once, up to where it ended.
   ///
   /// \param file_name  the other log; the name is lowered
   /// \return false when the other log does not exist, else true, whatever was written
   bool append_file(MEM_STRING file_name);

   /// Appends a record: its keyword line and the lines of its kind, each as print_line does.
   ///
   /// A kind that does not exist is reported ("Unrecognized log entry type"), and nothing is written. On a
   /// log that is enabled, a delay-chain record whose m_chain_type is not DB_PAD_TO_CORE is reported after it
   /// was written ("((LOGDB_FSYN_LOG_ENTRY_RESET_DELAY_CHAIN *)log_entry)->m_chain_type == ::DB_PAD_TO_CORE",
   /// with the record's class), and a SET_INSTANCE_NAME record stops the process with a trap after its second
   /// line.
   ///
   /// \param log_entry  stays the caller's and is not changed. Null is reported ("log_entry != 0"), and nothing
   ///                   is written
   void write_fsyn_log_entry(LOGDB_FSYN_LOG_ENTRY* log_entry);

   /// Reads the next record.
   ///
   /// A word that is no keyword where one should stand is reported ("Unrecognized line in the log") and
   /// skipped. A LUT mode that does not exist is reported ("Unrecognized lutmask type") and read as 0. A word
   /// that is no number counts as 0. When the file ends inside a record, its missing names are LOGDB_FSYN_EOF
   /// and its missing numbers 0; when it ends inside a list, the list ends with the last whole element, and a
   /// debug message says so.
   ///
   /// \return the record, which the caller deletes; null at the end of the file, and where the word
   ///         LOGDB_FSYN_EOF stands in the place of a keyword
   LOGDB_FSYN_LOG_ENTRY* read_fsyn_log_entry();

   LOGDB_FSYN_FILE_STREAM* m_file_stream = nullptr; ///< owned; null while no file is open
   MEM_STRING m_file_name;                          ///< the path
   bool m_enabled = false;                          ///< whether lines are written
};

#endif
