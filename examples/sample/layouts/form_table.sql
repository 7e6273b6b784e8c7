-- The data table of one form as it stood at version 1.0000.
-- {siteid}, {featureid} and {formfieldid} are decimal ids. Run the CREATE TABLE once per form and
-- then, for every field of the form, the one statement that follows the line of its type.

CREATE TABLE tw_{siteid}.form_{featureid}(
  replyid INT AUTO_INCREMENT NOT NULL,
  userid INT DEFAULT 0 NOT NULL,
  created DATETIME DEFAULT '1000-01-01 00:00' NOT NULL,
  PRIMARY KEY(replyid)
);

-- type: text
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} VARCHAR(255) DEFAULT '' NOT NULL;
-- type: memo
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} TEXT DEFAULT '' NOT NULL;
-- type: dhtml
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} TEXT DEFAULT '' NOT NULL;
-- type: integer
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} INT DEFAULT 0 NOT NULL;
-- type: float
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} FLOAT DEFAULT 0 NOT NULL;
-- type: currency
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} FLOAT DEFAULT 0 NOT NULL;
-- type: boolean
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} BOOL DEFAULT 0 NOT NULL;
-- type: date
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} DATETIME DEFAULT '1000-01-01 00:00' NOT NULL;
-- type: file
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} VARCHAR(255) DEFAULT '' NOT NULL;
-- type: image
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} VARCHAR(255) DEFAULT '' NOT NULL;
-- type: formlink
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} INT DEFAULT 0 NOT NULL;
-- type: multiformlink
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} INT DEFAULT 0 NOT NULL;
-- type: productfamily
ALTER TABLE tw_{siteid}.form_{featureid} ADD COLUMN field_{formfieldid} INT DEFAULT 0 NOT NULL;
