#pragma once

// The base of the row converters: what a stream's schema must offer, and what every converter shares. An adapter holds
// one converter per stream, fills its external side (fields, a line or a record) and calls toRow for a binary record
// (row2.h), or hands a record to fromRow and reads the external side back.
//
// Ownership: records from toRow are allocated with malloc and belong to the caller, who frees them with free(). Records
// given to fromRow stay the caller's.
// Failures: results and messages in a ConnectionErrors; nothing throws but exhausted memory.
// Threads: a row is not locked; one thread uses a row at a time.

#include <memory>
#include <string>

#include "kyv/connection_errors.h"
#include "kyv/export.h"

namespace kyv {
class TimeModel;
}

namespace kyv_internal {
struct PreparedSettings;
}

// What a row does to its stream.
struct StreamInterface {
  enum StreamOperations { Insert = 1, Update = 3, Delete = 5, Upsert = 7, SecondDelete = 13 };
};

// Opaque to this library: conversions accept a pointer to one and do not consult it.
class KYV_EXPORT ConnectionCallback {
 public:
  virtual ~ConnectionCallback();
};

// A stream's schema, as the adapter framework supplies it (stream_schema.h has a ready one). The library calls only
// these operations, and the order of the virtual ones is part of the interface.
class KYV_EXPORT ConnectionRowType {
 public:
  virtual ~ConnectionRowType();
  virtual int getColumnCount() const = 0;
  virtual const char* getColumnName(int index) const = 0;
  virtual unsigned int getColumnType(int index) const = 0;  // a type code of data_types.h
  virtual ConnectionRowType* clone() const = 0;             // made with new, owned by the caller
  virtual void reserved() const {}                          // never called
  virtual const char* getStreamName() const = 0;
  virtual int getStreamId() const = 0;  // written into each record's header
};

class KYV_EXPORT ConnectionRow {
 public:
  ConnectionRow();
  ConnectionRow(const ConnectionRow&) = delete;
  ConnectionRow& operator=(const ConnectionRow&) = delete;

  // The order of the virtual operations is part of the interface. Operations of one external form (fields by name or by
  // position, a line, a record) are implemented by the converters that have that form; elsewhere they write a complaint
  // to standard error and return zero, false or null.
  virtual ~ConnectionRow();
  virtual void clear();      // forgets the stream and the external side
  virtual void clearData();  // forgets the external side
  // A new row of the same class with the same settings, made with new and owned by the caller.
  virtual ConnectionRow* createNew() = 0;

  // "%"-style formats, copied. The date and timestamp defaults are both "%Y-%m-%d %H:%M:%S", the time default
  // "%H:%M:%S".
  virtual void setTimeFormat(const char* format);
  virtual void setDateFormat(const char* format);
  virtual void setTimestampFormat(const char* format);  // for bigdatetime too

  virtual void setStreamName(const char* name);
  virtual void setStreamName(const std::string& name);
  virtual std::string getStreamName();

  // Gives the row its schema, deleting one that it owned. With `own` the row deletes it in the end; without, it must
  // outlive the row. Never pass the schema that the row already owns.
  virtual void setStreamType(ConnectionRowType* type, bool own);
  virtual ConnectionRowType* getStreamType();

  virtual bool getFieldAsString(const char* name, std::string& out);
  virtual bool getFieldAsString(const char* name, const char** out);
  virtual bool setFieldAsString(const char* name, const std::string& value);
  virtual bool setFieldAsString(const char* name, const char* value);
  virtual bool getFieldAsString(int index, std::string& out);
  virtual bool getFieldAsString(int index, const char** out);
  virtual bool setFieldAsString(int index, const std::string& value);
  virtual bool setFieldAsString(int index, const char* value);
  virtual bool appendFieldAsString(const std::string& value);
  virtual bool appendFieldAsString(const char* value);
  virtual char getOp() const;
  virtual void setOp(char letter);
  virtual const char* getFlagsAsString() const;
  virtual bool setFlagsAsString(const char* flags);
  virtual int size() const;
  virtual void setSeparator(char separator);
  virtual void setWithService(bool withService);
  virtual char* allocBuffer(int size);
  virtual void setBuffer(char* line);
  virtual void setRow(void* record, int size);
  virtual void* allocRow(int size);
  virtual void adoptRow(void* record);
  virtual bool validate(ConnectionErrors& errors);
  virtual bool validate(ConnectionErrors* errors);
  virtual void* getRow() const;
  virtual int getRowSize();

  // The external side as a new record, or null with a message. `recordNo` is the caller's running record number, which
  // messages quote. The callback is not consulted.
  virtual void* toRow(ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors) = 0;
  virtual void* toRow(unsigned long recordNo, ConnectionErrors* errors) = 0;
  // Reads a well-formed record in host byte order. False with a message on failure.
  virtual bool fromRow(void* record, ConnectionCallback* callback, unsigned long recordNo, ConnectionErrors& errors);
  virtual bool fromRow(void* record, unsigned long recordNo, ConnectionErrors* errors);

  // Guaranteed delivery: columns of the two names below are not fields but the row's sequence number and opcode. Never
  // switched off again.
  virtual void enableGDMode();
  virtual void setSequenceNumberColumnName(const char* name);
  virtual void setOpcodeColumnName(const char* name);
  virtual long long getSequenceNumber();  // the last one read from a record

  // The stream name where the row keeps it; valid until the name changes.
  const char* streamName() const { return streamName_.c_str(); }

  // Date models in place of the "%"-style formats; whichever was set last holds. Fields that a model does not name are
  // those of 1970-01-01 00:00:00, as with formats. A text that the model cannot read fails like one that does not match
  // its format; a value that it cannot print is an empty text. Ask the model for its faults first.
  void setTimeModel(const kyv::TimeModel& model);
  void setDateModel(const kyv::TimeModel& model);
  void setTimestampModel(const kyv::TimeModel& model);  // for bigdatetime too

  // Copies the stream name, the schema (a clone when `source` owns its own) and the three formats or models.
  void copyCommonFrom(ConnectionRow* source);

  // The operation of a letter: i, u, d or p in either case. Otherwise false with a message, `out` unchanged.
  bool parseOp(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo, ConnectionErrors& errors);
  bool parseOp(StreamInterface::StreamOperations& out, char letter, unsigned long recordNo, ConnectionErrors* errors);
  // The letter of an operation. Otherwise false with a message, `out` unchanged.
  bool printOp(char& out, int op, unsigned long recordNo, ConnectionErrors& errors);
  bool printOp(char& out, int op, unsigned long recordNo, ConnectionErrors* errors);

 protected:
  friend class ConnectionRowPool;

  std::string streamName_;
  ConnectionRowType* streamType_ = nullptr;
  bool ownsStreamType_ = false;
  std::string timeFormat_;
  std::string dateFormat_;
  std::string timestampFormat_;
  ConnectionRow* poolNext = nullptr;  // the next row in a pool's free list, while this one lies there
  ConnectionRow* poolTag_ = nullptr;  // the prototype of the pool that made this row; null for other rows
  bool gdMode_ = false;
  long long sequenceNumber_ = 0;
  std::string sequenceNumberColumnName_;
  std::string opcodeColumnName_;

  // Additions: the formats compiled and the schema looked up; what tells the tag's prototype from a later one at its
  // address.
  std::unique_ptr<kyv_internal::PreparedSettings> prepared_;
  std::shared_ptr<const void> poolGeneration_;
};
