-- Makes countries.db from the tables beside this file; run by the sqlite3 shell in this folder.
CREATE TABLE countries(
  sn CHAR(2) PRIMARY KEY NOT NULL,
  ln TEXT NOT NULL,
  pnum TEXT NOT NULL,
  mmc TEXT NOT NULL,
  numc TEXT NOT NULL,
  u2 TEXT NOT NULL,
  r1 TEXT NOT NULL,
  r2 TEXT NOT NULL,
  r3 TEXT NOT NULL,
  r4 TEXT NOT NULL,
  mnc_rx TEXT NOT NULL,
  n TEXT NOT NULL);
CREATE TABLE mmc_sn(
  mmc CHAR(3) PRIMARY KEY NOT NULL,
  sn CHAR(2) NOT NULL);

CREATE TEMP TABLE plan(sn TEXT, n TEXT, ln TEXT, pnum TEXT, mmc TEXT, numc TEXT, u2 TEXT, mnc_rx TEXT, r1 TEXT);
CREATE TEMP TABLE format(pnum TEXT, pattern TEXT, replacement TEXT, leading TEXT);
.mode tabs
.import --skip 1 --schema temp countries.tsv plan
.import --skip 1 --schema temp formats.tsv format
.import --skip 1 mobilecodes.tsv mmc_sn

CREATE TEMP TABLE formats AS
  SELECT pnum, group_concat(pattern, ';') AS r2, group_concat(replacement, ';') AS r3, group_concat(leading, ';') AS r4
    FROM (SELECT * FROM format ORDER BY pnum, rowid) GROUP BY pnum;
INSERT INTO countries(sn, ln, pnum, mmc, numc, u2, r1, r2, r3, r4, mnc_rx, n)
  SELECT sn, ln, pnum, mmc, numc, u2, r1, coalesce(r2, ''), coalesce(r3, ''), coalesce(r4, ''), mnc_rx, n
    FROM plan LEFT JOIN formats USING (pnum) ORDER BY sn;

CREATE INDEX index_countries_pnum ON countries(pnum);
CREATE INDEX index_mmc_sn_sn ON mmc_sn(sn);
VACUUM;
