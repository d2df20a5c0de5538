-- Mails that wait to be sent. A row is written in the transaction of the business that wants the
-- mail, so that there is a mail exactly if the business took place.
CREATE TABLE outbox_mail (
    id bigint GENERATED ALWAYS AS IDENTITY PRIMARY KEY,
    sender text NOT NULL,
    recipients text[] NOT NULL,
    subject text NOT NULL DEFAULT '',
    text_body text NOT NULL DEFAULT '',
    html_body text NOT NULL DEFAULT '',
    attachments text[] NOT NULL DEFAULT '{}',  -- Paths, as the workers see them.
    state text NOT NULL DEFAULT 'queued' CHECK (state IN ('queued', 'sent', 'failed')),
    attempts integer NOT NULL DEFAULT 0,
    next_attempt timestamptz NOT NULL DEFAULT now(),
    worker text,               -- Whose the mail is until leased_until is over.
    leased_until timestamptz,
    last_code integer,         -- A result code of the library.
    last_text text,
    created timestamptz NOT NULL DEFAULT now(),
    ended timestamptz
);

CREATE INDEX outbox_mail_due ON outbox_mail (next_attempt, id) WHERE state = 'queued';

CREATE VIEW outbox_counts AS
SELECT count(*) FILTER (WHERE state = 'queued' AND leased_until > now()) AS under_way,
       count(*) FILTER (WHERE state = 'queued' AND next_attempt <= now()
                        AND coalesce(leased_until <= now(), true)) AS due,
       count(*) FILTER (WHERE state = 'queued' AND next_attempt > now()
                        AND coalesce(leased_until <= now(), true)) AS later,
       count(*) FILTER (WHERE state = 'sent') AS sent,
       count(*) FILTER (WHERE state = 'failed') AS failed
FROM outbox_mail;

-- Wakes the workers once the transaction is committed.
CREATE FUNCTION outbox_notify() RETURNS trigger LANGUAGE plpgsql AS $$
BEGIN
    NOTIFY outbox;
    RETURN NULL;
END $$;

CREATE TRIGGER outbox_mail_added AFTER INSERT ON outbox_mail
FOR EACH STATEMENT EXECUTE FUNCTION outbox_notify();

-- What a worker does to a mail. Only whose lease it is can record or give back.

-- Rows that others are claiming are passed over, so that workers do not wait for one another.
CREATE FUNCTION outbox_claim(claimer text, lease interval, most integer)
RETURNS SETOF outbox_mail LANGUAGE sql AS $$
    UPDATE outbox_mail
    SET worker = claimer, leased_until = now() + lease, attempts = attempts + 1
    WHERE id IN (SELECT id FROM outbox_mail
                 WHERE state = 'queued' AND next_attempt <= now()
                   AND coalesce(leased_until <= now(), true)
                 ORDER BY next_attempt, id FOR UPDATE SKIP LOCKED LIMIT most)
    RETURNING *
$$;

-- What came of an attempt. new_state 'queued': the mail is due again after the pause.
CREATE FUNCTION outbox_record(mail bigint, owner text, new_state text, pause interval,
                              code integer, reason text)
RETURNS void LANGUAGE sql AS $$
    UPDATE outbox_mail
    SET state = new_state, next_attempt = now() + pause, leased_until = NULL,
        last_code = code, last_text = reason,
        ended = CASE WHEN new_state <> 'queued' THEN now() END
    WHERE id = mail AND worker = owner AND state = 'queued' AND leased_until IS NOT NULL
$$;

-- As if the mail had not been claimed.
CREATE FUNCTION outbox_give_back(mail bigint, owner text)
RETURNS void LANGUAGE sql AS $$
    UPDATE outbox_mail SET leased_until = NULL, attempts = attempts - 1
    WHERE id = mail AND worker = owner AND state = 'queued' AND leased_until IS NOT NULL
$$;
