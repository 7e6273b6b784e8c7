-- The logs database as it stood at version 1.0000: one web log table per site.
-- Run once per site; {siteid} is the decimal site id.

CREATE DATABASE IF NOT EXISTS tw_logs;

CREATE TABLE tw_logs.tw_{siteid}(
  ClientHost VARCHAR(255),
  username VARCHAR(255),
  LogTime DATETIME,
  service VARCHAR(255),
  machine VARCHAR(255),
  serverip VARCHAR(50),
  processingtime INT,
  bytesrecvd INT,
  bytessent INT,
  servicestatus INT,
  win32status INT,
  operation VARCHAR(255),
  target VARCHAR(255),
  parameters VARCHAR(255)
);
