-- Rows of a site at version 1.0000 in the tables of its optional features; see site_core.sql.

-- group: forms
-- Form 7 is the contact form, whose files are kept out of the web folder; 8 is the catalogue with a
-- field of every type; 9 holds the publishers. The options are bit sets: 8 fills page parameters,
-- 32 marks a family of products.
INSERT INTO tw_{siteid}.form(formfeatureid, securefiles) VALUES (7, -1), (8, 0), (9, 0);

INSERT INTO tw_{siteid}.formfield(formfieldid, featureid, name, type, options, defaultvalue, targetformfeatureid, sequence) VALUES
  (1, 8, 'Title', 'text', 1, '', 0, 1),
  (2, 8, 'Summary', 'memo', 0, '0', 0, 2),
  (3, 8, 'Description', 'dhtml', 0, '', 0, 3),
  (4, 8, 'Pages', 'integer', 8, '0', 0, 4),
  (5, 8, 'Weight', 'float', 15, '0.5', 0, 5),
  (6, 8, 'Price', 'currency', 16, '9.99', 0, 6),
  (7, 8, 'In stock', 'boolean', 7, '0', 0, 7),
  (8, 8, 'Published', 'date', 24, '', 0, 8),
  (9, 8, 'Sample chapter', 'file', 0, '', 0, 9),
  (10, 8, 'Cover', 'image', 0, '', 0, 10),
  (11, 8, 'Publisher', 'formlink', 0, '0', 9, 11),
  (12, 8, 'Related books', 'multiformlink', 31, '0', 8, 12),
  (13, 8, 'Series', 'productfamily', 5, '0', 8, 13),
  (14, 7, 'Name', 'text', 1, 'Visitor''s name', 0, 1),
  (15, 7, 'E-mail', 'text', 1, '', 0, 2),
  (16, 7, 'Message', 'memo', 1, '', 0, 3),
  (17, 7, 'Attachment', 'file', 0, '', 0, 4),
  (18, 9, 'Name', 'text', 1, '', 0, 1),
  (19, 9, 'Town', 'text', 0, 'London', 0, 2),
  (20, 9, 'Founded', 'integer', 0, '1900', 0, 3),
  (21, 9, 'Imprints', 'productfamily', 37, '0', 9, 4);

INSERT INTO tw_{siteid}.formlink(linkid, formfieldid, subjreplyid, objreplyid, productlinkprice, sequence) VALUES
  (1, 12, 1, 2, 0, 1),
  (2, 12, 1, 3, 0, 2),
  (3, 12, 3, 1, 0, 1),
  (4, 13, 1, 3, 12.5, 1),
  (5, 13, 4, 1, 0.1, 1),
  (6, 21, 2, 1, 3.33, 1);

INSERT INTO tw_{siteid}.formfieldexpressionfield(expressionfieldid, formfieldid, prefix, suffix, sequence) VALUES
  (1, 1, 'Title:&nbsp;', '&nbsp;&nbsp;.', 1),
  (2, 4, '', '', 2),
  (3, 6, 'Größe&nbsp;', ' €', 3);

INSERT INTO tw_{siteid}.formloadingproperty(featureid, propertytype, type, value) VALUES
  (8, 1, 1, 5), (8, 1, 2, 0), (9, 2, 1, 18);

-- group: records
-- The forms' records; their tables are made first.
-- Files that are there and files that are not, one outside the site's folder, one that names
-- another server. Field 6: amounts that a float does not hold exactly.
INSERT INTO tw_{siteid}.form_8(replyid, userid, created, field_1, field_2, field_3, field_4, field_5, field_6, field_7, field_8, field_9, field_10, field_11, field_12, field_13) VALUES
  (1, 1, '2007-05-01 10:00:00', 'The Lighthouse', 'A keeper''s diary.', '<p>A <b>keeper''s</b> diary.</p>', 312, 0.45, 19.99, -1, '2006-09-01', '../files/lighthouse.pdf', '../images/lighthouse.JPG', 1, 2, 1),
  (2, 1, '2007-05-02 11:30:00', 'Tides & Time', '', '', 0, 1.1, 0.1, 0, '2007-02-14', '../files/lost.pdf', '../images/tides.jpeg', 2, 0, 0),
  (3, 2, '2007-06-20 15:05:00', 'Über das Meer', 'Gedichte', '<p>Gedichte</p>', 96, 0.123456, 1234.5, -1, '1998-10-05', '../files/../../secret.txt', '', 1, 1, 0),
  (4, 2, '2007-07-09 08:15:00', 'Nets', '', '', 150, 0, 7, 0, '2001-01-01', 'http://elsewhere.example/nets.pdf', '../images/no-extension', 0, 0, 1);

INSERT INTO tw_{siteid}.form_7(replyid, userid, created, field_14, field_15, field_16, field_17) VALUES
  (1, 0, '2007-12-24 18:00:00', 'Siân Jones', 'sian@jones.example', 'Are you open tomorrow?', '../files/letter.doc'),
  (2, 3, '2007-12-27 09:30:00', 'Jörg Müller', 'joerg@mueller.example', 'My order; where is it?', '');

INSERT INTO tw_{siteid}.form_9(replyid, userid, created, field_18, field_19, field_20, field_21) VALUES
  (1, 1, '2007-04-01 09:00:00', 'Anchor & Sons', 'Whitby', 1921, 0),
  (2, 1, '2007-04-01 09:05:00', 'Nordlicht', 'Hamburg', 1968, 1);

-- group: templates
-- Page 18 shows the catalogue, page 19 the publishers. View fields 2 and 3 lead to link fields.
INSERT INTO tw_{siteid}.formtemplate(featureid, formfeatureid) VALUES (18, 8), (19, 9);

INSERT INTO tw_{siteid}.querytable(tableid, queryid, tabletype, srctableid) VALUES
  (1, 1, 0, 8), (2, 2, 0, 9);

INSERT INTO tw_{siteid}.queryfieldsrc(queryfieldid, queryid, tableid, srcfieldid) VALUES
  (1, 1, 1, 1), (2, 1, 1, 12), (3, 1, 1, 13), (4, 2, 2, 18);

INSERT INTO tw_{siteid}.queryjoin(joinid, queryid, jointype, srctableid, srcfieldid, objtableid, objfieldid) VALUES
  (1, 1, 1, 8, 11, 9, 18);

INSERT INTO tw_{siteid}.formtemplatefield(formtemplatefieldid, featureid, queryfieldid, linkformtemplatefieldid, sequence) VALUES
  (1, 18, 1, 0, 1), (2, 18, 2, 1, 2), (3, 18, 3, 0, 3), (4, 19, 4, 0, 1);

INSERT INTO tw_{siteid}.formtemplateviewfield(viewfieldid, viewid, formtemplatefieldid, formtemplateviewfieldtype, integer_value, sequence) VALUES
  (1, 1, 1, 6, 0, 1), (2, 1, 2, 7, 0, 2), (3, 1, 3, 22, 0, 3), (4, 2, 4, 1, 1, 1);

INSERT INTO tw_{siteid}.formtemplateinstance(instanceid, featureid, queryid, viewid) VALUES
  (1, 18, 1, 1), (2, 19, 2, 2);

INSERT INTO tw_{siteid}.formtemplateinstancefield(instancefieldid, instanceid, queryfieldid, operator, value) VALUES
  (1, 1, 1, 'PAGE', 'title'),
  (2, 1, 2, '=', 'Now'),
  (3, 1, 3, '>', 'Now Plus 3 Days'),
  (4, 2, 4, '=', 'Then'),
  (5, 2, 4, 'LIKE', 'Whitby%');

-- group: feeds
INSERT INTO tw_{siteid}.datafeedfield(fieldid, featureid, prompt, sequence) VALUES
  (1, 16, 'Billing Address 1', 1),
  (2, 16, 'Shipping Address 1', 2),
  (3, 16, 'Address 1', 3),
  (4, 16, 'Address 10', 4),
  (5, 16, 'Name', 5);

INSERT INTO tw_{siteid}.externallookupfeedfield(fieldid, requestparamname, responsexpath) VALUES
  (1, 'street', '/address/line[1]'),
  (5, 'name', '/address/name'),
  (4, '', '/address/line[10]');

-- group: shop
-- Order 2 was paid in a test (its payment is not live); order 3 has no address.
INSERT INTO tw_{siteid}.customerorder(orderid, featureid, userid, created, currencyid, grossamount, chargetotal, completed, locked, billingname, billingorganization, billingaddress, billingcountry, billingpostcode, billingtelephone, billingemail, shippingname, shippingaddress, shippingcountry, shippingpostcode) VALUES
  (1, 6, 3, '2007-12-01 12:00:00', 1, 24.98, 4.99, -1, -1, 'Jörg Müller', 'Müller & Söhne', 'Hafenstraße 12, Hamburg', 'Germany', '20457', '+49 40 555 123', 'joerg@mueller.example', 'Jörg Müller', 'Hafenstraße 12, Hamburg', 'Germany', '20457'),
  (2, 6, 0, '2007-12-11 09:41:00', 1, 0.1, 0, -1, 0, 'Test', '', 'Test', 'United Kingdom', '', '', 'ann@{domain}', '', '', '', ''),
  (3, 14, 2, '2008-01-02 14:20:00', 2, 1234.57, 12.5, 0, 0, 'Piet O''Brien', '', '', '', '', '', '', '', '', '', '');

INSERT INTO tw_{siteid}.orderitem(itemid, orderid, basketid, description, quantity, price) VALUES
  (1, 1, 1, 'The Lighthouse', 1, 19.99),
  (2, 2, 2, 'Tides & Time', 1, 0.1),
  (3, 3, 3, 'Nets (box of 50)', 3, 407.35);

INSERT INTO tw_{siteid}.orderpayment(paymentid, orderid, amount, transactionid, paymentdate, live) VALUES
  (1, 1, 24.98, 'T-100-1', '2007-12-01 12:03:10', -1),
  (2, 2, 0.1, 'TEST', '2007-12-11 09:42:00', 0),
  (3, 2, 0.1, 'TEST-2', '2007-12-11 09:43:00', -1);

INSERT INTO tw_{siteid}.basket(basketid, featureid, userid, orderid, created) VALUES
  (1, 6, 3, 1, '2007-12-01 11:50:00'),
  (2, 6, 0, 2, '2007-12-11 09:40:00'),
  (3, 14, 2, 3, '2008-01-02 14:00:00'),
  (4, 6, 0, 0, '2008-01-03 20:11:00');

-- group: charges
-- Charges 1 and 2 apply to each other; 2 and 4 share a sequence; 3 applies to one that comes later.
INSERT INTO tw_{siteid}.charge(chargeid, featureid, name, chargetype, chargecat, sequence) VALUES
  (1, 6, 'Packing', 1, 1, 1),
  (2, 6, 'Delivery "next day"', 1, 1, 2),
  (3, 6, 'O''Neill''s surcharge', 2, 1, 0),
  (4, 14, 'Delivery', 1, 2, 2);

INSERT INTO tw_{siteid}.chargetocharge(chargeid, applytochargeid) VALUES (1, 2), (2, 1), (3, 2), (4, 3);

INSERT INTO tw_{siteid}.chargetoitemtype(chargeid, applytoitemtypeid) VALUES (1, 5), (2, 5), (2, 6);

INSERT INTO tw_{siteid}.chargeregion(regionid, chargeid, countryid, price) VALUES
  (1, 2, 77, 4.99), (2, 2, 54, 9.95), (3, 1, 0, 0.1);

INSERT INTO tw_{siteid}.chargeregionvalueband(bandid, regionid, bandstart, price) VALUES
  (1, 1, 0, 4.99), (2, 1, 19.99, 2.5), (3, 1, 50, 0);

-- group: affiliates
-- User 3 is an affiliate; the payments stand in the central database.
INSERT INTO tw_{siteid}.commission(commissionid, orderid, userid, percentage, commission, created) VALUES
  (1, 1, 3, 7.5, 1.87, '2007-12-01 12:03:10'),
  (2, 2, 3, 33.3333, 0.03, '2007-12-11 09:42:00'),
  (3, 0, 3, 5, 2.5, '2008-01-01 00:00:00');

INSERT INTO tw_{siteid}.accesscodeaccount(accesscodeid, accesscode, userid, associatepercentage) VALUES
  (1, 'SEAGULL', 3, 7.5), (2, 'ANCHOR', 2, 0.1);

-- group: forum
-- Threads 1, 8 and 10 are live. Root 4 was removed between live ones, 12 after the last live one;
-- nothing of thread 8 was published.
INSERT INTO tw_{siteid}.forum(elementid, featureid, threadid, parentid, userid, subject, message, created, published, removed) VALUES
  (1, 13, 1, 0, 3, 'Favourite sea stories?', 'Tell us.', '2007-08-01 10:00:00', -1, 0),
  (2, 13, 1, 1, 2, 'Re: Favourite sea stories?', 'The Lighthouse, of course.', '2007-08-01 11:00:00', -1, 0),
  (3, 13, 1, 1, 0, 'Re: Favourite sea stories?', 'buy cheap watches', '2007-08-02 03:00:00', 0, -1),
  (4, 13, 4, 0, 0, 'CHEAP WATCHES', 'cheap!!!', '2007-08-02 03:01:00', -1, -1),
  (5, 13, 4, 4, 2, 'Re: CHEAP WATCHES', 'Please don''t.', '2007-08-02 09:00:00', -1, 0),
  (6, 13, 1, 2, 3, 'Re: Favourite sea stories?', 'Agreed.', '2007-08-03 12:00:00', -1, 0),
  (8, 13, 8, 0, 3, 'Waiting for approval', 'Nobody has read this yet.', '2007-09-10 10:00:00', 0, 0),
  (9, 13, 8, 8, 3, 'Re: Waiting for approval', 'Hello?', '2007-09-11 10:00:00', 0, 0),
  (10, 13, 10, 0, 2, 'Opening hours', 'At Christmas: 10 to 4.', '2007-12-20 10:00:00', -1, 0),
  (12, 13, 12, 0, 0, 'Watches again', 'cheap', '2007-12-21 02:00:00', -1, -1);

-- group: oauth
INSERT INTO tw_{siteid}.oauthconsumer(consumerid, name, consumerkey, consumersecret, callbackurl) VALUES
  (1, 'Chatter', 'k-483920', 's-9f8e7d', 'http://{domain}/login/chatter');
